/*
 * loader - reads a database image from its file and takes an application database to the kernel.
 *
 * Everything here is process-wide state of one load at a time. Statuses are 0 on success and -1
 * on failure unless a function says otherwise; failures are reported on standard output as
 * "[Error](function) line: message".
 */
#ifndef LOADER_LOADER_H
#define LOADER_LOADER_H

#include "appmngr/appmngr_model.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Image reader ---------------------------------------------------------------------- */

/* Remembers path, which must outlive the load, as the database file and tries to open it. */
int appmngr_checkDbPath(const char *path);

/*
 * Reads up to size bytes at offset of the database file into buffer; what the file does not have
 * is left as it was. Fails for a null buffer and when the file cannot be opened.
 */
int appmngr_readFile(uint32_t offset, uint32_t size, void *buffer);

/* Results of appmngr_lzmaUnpack. */
enum {
    APPMNGR_LZMA_OK = 0,
    APPMNGR_LZMA_ERR_DATA = 1,
    APPMNGR_LZMA_ERR_MEMORY = 2,
    APPMNGR_LZMA_ERR_PROPERTIES = 4,
    APPMNGR_LZMA_ERR_INPUT_END = 6
};

/*
 * Decodes the *srcLen bytes at src, a 14-byte header and a raw LZMA1 stream, into dest, which has
 * room for *destLen bytes. Decoding ends when the output is full or the input used up; an end
 * mark is not needed. *destLen becomes the number of bytes written, also when a fault is met on
 * the way; *srcLen the number of bytes consumed. With *srcLen below 14 nothing is touched.
 * Returns APPMNGR_LZMA_...
 */
int appmngr_lzmaUnpack(void *dest, uint32_t *destLen, const unsigned char *src, uint32_t *srcLen);

/*
 * Decodes the image that begins, with its length, at the first of the APPMNGR_IMAGE_SIZE bytes at
 * image. What the length field asks for beyond those bytes is not there to be read. text has room
 * for *textLen bytes; *textLen becomes the number of bytes written, and stays as it was when the
 * length field is below 14. A corrupt stream gives what was decoded before the fault.
 */
void appmngr_unpackImage(char *text, uint32_t *textLen, const unsigned char *image);

/* Reads the application database image and decompresses it into the XML text buffer. */
int _appmngr_readAppDb(void);

/* ---- Load ------------------------------------------------------------------------------ */

/*
 * Clears the tables, reads the image, fills the tables and sends them. The tables stay filled.
 * Returns 0, or -1 after every failing stage and the pipeline reported the failure.
 */
int appmngr_load_database(void);

/*
 * Opens /dev/null as standard input, output and error where the program was started without them,
 * so that no file or socket of its own takes their place. Returns 0, or -1 when that fails.
 */
int appmngr_openStandardStreams(void);

#ifdef __cplusplus
}
#endif

#endif
