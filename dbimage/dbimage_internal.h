/*
 * What the files of dbimage share among themselves.
 */
#ifndef DBIMAGE_DBIMAGE_INTERNAL_H
#define DBIMAGE_DBIMAGE_INTERNAL_H

#include "dbimage/dbimage.h"

#pragma GCC visibility push(hidden)
extern "C" {

/* ---- File table ------------------------------------------------------------------------ */

/* A file of a container; data points into the container. */
typedef struct dbimage_file {
    uint32_t type;
    uint32_t size;
    const unsigned char *data;
} dbimage_file;

typedef struct dbimage_fileTable {
    uint32_t count;
    dbimage_file file[DBIMAGE_FILES_MAX];
} dbimage_fileTable;

/* Why a container is refused: its result code and its diagnostic. */
typedef struct dbimage_fault {
    int code;
    int line;
    const char *message;
} dbimage_fault;

/*
 * Checks the container of len bytes at data, at least 17 of them, and lists its files. Returns
 * null, or the fault.
 */
const dbimage_fault *_dbimage_listFiles(const unsigned char *data, uint32_t len,
                                        dbimage_fileTable *table);

/* ---- Decrypted file -------------------------------------------------------------------- */

dbimage_fileHeader _dbimage_readHeader(const void *decrypted);

/* 1 when the magic of header is one of those accepted. */
int _dbimage_isKnownMagic(const dbimage_fileHeader *header);

/*
 * Completes the image in a decrypted file: its length field takes the place of the reserved word.
 * Returns the length of the image, that field included.
 */
uint32_t _dbimage_completeImage(void *decrypted);

/* Where application database files are decrypted; null while not allocated. */
extern unsigned char *_appmngr_updateBuf;

void _appmngr_freeUpdateBuf(void);

/* ---- Key ------------------------------------------------------------------------------- */

/* The writable copy of the database key, which the file sealing uses. */
extern unsigned char _md5_des_sealKey[8];

} /* extern "C" */
#pragma GCC visibility pop

#endif
