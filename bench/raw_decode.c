/* Decoding an image with liblzma's raw decoder. */

#include "bench/raw_decode.h"

#include <lzma.h>
#include <stdlib.h>

enum { PROPERTIES_AT = 5, PROPERTIES_SIZE = 5, STREAM_AT = 18, LENGTH_SIZE = 4 };

size_t raw_decode(const unsigned char *image, unsigned char *text)
{
    size_t end = LENGTH_SIZE;
    for (size_t i = 0, length = 0; i < LENGTH_SIZE; i++) {
        length = length << 8 | image[i];
        end = LENGTH_SIZE + length;
    }
    lzma_filter filters[2] = {{.id = LZMA_FILTER_LZMA1}, {.id = LZMA_VLI_UNKNOWN}};
    size_t from = STREAM_AT;
    size_t written = 0;
    if (end > RAW_DECODE_IMAGE_SIZE ||
        lzma_properties_decode(&filters[0], NULL, image + PROPERTIES_AT, PROPERTIES_SIZE) !=
            LZMA_OK ||
        lzma_raw_buffer_decode(filters, NULL, image, &from, end, text, &written,
                               RAW_DECODE_TEXT_SIZE) != LZMA_OK) {
        written = 0;
    }
    free(filters[0].options);
    return written;
}
