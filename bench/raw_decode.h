/*
 * What every load is compared with: decoding the image with the compression library, nothing else.
 */
#ifndef BENCH_RAW_DECODE_H
#define BENCH_RAW_DECODE_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Sizes, in bytes, of the room for an image and for its text. */
enum { RAW_DECODE_IMAGE_SIZE = 65536, RAW_DECODE_TEXT_SIZE = 204800 };

/*
 * Decodes a valid image into text, which has room for RAW_DECODE_TEXT_SIZE bytes. Returns the
 * number of bytes written, 0 if it cannot be decoded.
 */
size_t raw_decode(const unsigned char *image, unsigned char *text);

#ifdef __cplusplus
}
#endif

#endif
