/*
 * loader - reads a database image from its file and loads an application database into the kernel.
 *
 * All state is process-wide, for one load at a time. Functions return 0 on success and -1 on
 * failure unless they say otherwise, and report failures on standard output as
 * "[Error](function) line: message".
 */
#ifndef LOADER_LOADER_H
#define LOADER_LOADER_H

#include "appmngr/appmngr_model.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Remembers path, which must outlive the load, as the database file and tries to open it. */
int appmngr_checkDbPath(const char *path);

/*
 * Reads up to size bytes at offset of the database file into buffer. What a shorter file does not
 * fill is left as it was. Fails for a null buffer and when the file cannot be opened.
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
 * room for *destLen bytes. Decoding ends when the output is full or the input used up; no end
 * marker is needed. Sets *destLen to the number of bytes written, even on failure, and *srcLen to
 * the number consumed; neither when *srcLen is below 14. Returns APPMNGR_LZMA_...
 */
int appmngr_lzmaUnpack(void *dest, uint32_t *destLen, const unsigned char *src, uint32_t *srcLen);

/*
 * Decodes the image, length field first, that lies in the APPMNGR_IMAGE_SIZE bytes at image;
 * nothing beyond them is read, whatever the length says. text has room for *textLen bytes. Sets
 * *textLen to the number of bytes written, unless the length is below 14. A corrupt stream yields
 * the text decoded up to the fault.
 */
void appmngr_unpackImage(char *text, uint32_t *textLen, const unsigned char *image);

/* Reads the application database image and decompresses it into the XML text buffer. */
int _appmngr_readAppDb(void);

/*
 * Clears the tables, reads the image, fills the tables and sends them. The tables stay filled.
 * A failure is reported by the stage itself, then by a line that names the stage.
 */
int appmngr_load_database(void);

/*
 * Opens /dev/null as standard input, output and error where the program was started without them,
 * so that no file or socket of its own takes their place.
 */
int appmngr_openStandardStreams(void);

#ifdef __cplusplus
}
#endif

#endif
