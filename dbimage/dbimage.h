/*
 * dbimage - the update image: several database files in one container, each encrypted on its own.
 *
 * Container of up to DBIMAGE_CONTAINER_MAX bytes; numbers are big-endian:
 *
 *        0                       16      17
 *        +-----------------------+-------+----------------+----------------+--
 *        | MD5 of all bytes from | file  | entry          | entry          | ...
 *        | 17 to the end         | count |                |                |
 *        +-----------------------+-------+----------------+----------------+--
 *   entry:
 *        0        1       4          8
 *        +--------+-------+----------+------------------------------+
 *        | type   | -     | size S   | encrypted file, S bytes      |
 *        +--------+-------+----------+------------------------------+
 *
 * The last entry ends where the container ends. Database file, encrypted as a whole with DES in
 * ECB mode (FIPS 46-3) under the database key; what follows the payload is ignored:
 *
 *        0               16         20           24         28         32
 *        +---------------+----------+------------+----------+----------+-----------------+
 *        | MD5 of bytes  | length L | -  1  2  x | magic    | 0        | payload, L      |
 *        | 16 to 32 + L  |          |  version   |          |          | bytes           |
 *        +---------------+----------+------------+----------+----------+-----------------+
 *
 * Decrypting removes the digest. The payload is a compressed database image without its length
 * field, so L, written over the zero word before the payload, completes it.
 *
 * Digests are MD5 (RFC 1321). Failures are reported on standard output as
 * "[Error](function) line: message", by the priority database's writer as
 * "[apppri_db_error](function) line: message". Nothing here is thread-safe.
 */
#ifndef DBIMAGE_DBIMAGE_H
#define DBIMAGE_DBIMAGE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Records --------------------------------------------------------------------------- */

#define DBIMAGE_DIGEST_SIZE   16
#define DBIMAGE_FILES_MAX     16
#define DBIMAGE_CONTAINER_MAX 196600
#define DBIMAGE_MAGIC         0x04000001u /* 0 is accepted too */
#define DBIMAGE_TYPE_APP      0           /* application database */
#define DBIMAGE_TYPE_PRIORITY 3           /* application priority database */

/* 17 bytes. */
typedef struct dbimage_containerHead {
    uint8_t digest[DBIMAGE_DIGEST_SIZE]; /* does not cover fileCount */
    uint8_t fileCount;
} dbimage_containerHead;

/* 8 bytes. */
typedef struct dbimage_entryHead {
    uint8_t type; /* DBIMAGE_TYPE_...; files of other types are ignored */
    uint8_t unused[3];
    uint32_t size; /* big-endian */
} dbimage_entryHead;

/* What follows the digest of a database file; 16 bytes. */
typedef struct dbimage_fileHeader {
    uint32_t length; /* of the payload, big-endian */
    uint8_t unused;
    uint8_t version[3]; /* major, minor, patch */
    uint32_t magic;     /* big-endian */
    uint32_t reserved;  /* 0 */
} dbimage_fileHeader;

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

/* Why a container is rejected: the result of the update and the diagnostic that it prints. */
typedef struct dbimage_fault {
    int code; /* APPMNGR_ERR_... of appmngr/appmngr_model.h */
    int line;
    const char *message;
} dbimage_fault;

/* ---- Container ------------------------------------------------------------------------- */

/*
 * Checks the container of len bytes at data and prepares a database image from each of its files
 * in order, up to the first failure. Returns 0 or a code of appmngr/appmngr_model.h:
 * APPMNGR_ERR_FILE_INVALID_LEN (unreported when len is out of range),
 * APPMNGR_ERR_FILE_CHECK, APPMNGR_ERR_FILE_INVALID_FORMAT, or what a writer below returned.
 */
int appmngr_db_writeFromDatabase(const void *data, int32_t len);

/*
 * Lists the files of the container of len bytes, at least 17, at data. Returns null, or what is
 * wrong with its structure; table then has the files up to there. Prints nothing.
 */
const dbimage_fault *dbimage_listFiles(const void *data, uint32_t len, dbimage_fileTable *table);

/* Returns 1 when the container of len bytes, at least 17, at data has the right digest, else 0. */
int dbimage_verifyDigest(const void *data, uint32_t len);

/* ---- Database files -------------------------------------------------------------------- */

/* Returns the header of the decrypted file (see appmngr_decrypt) at data, at least 16 bytes. */
dbimage_fileHeader dbimage_readHeader(const void *data);

/* Returns 1 when a device accepts the magic of header, else 0. */
int dbimage_isKnownMagic(const dbimage_fileHeader *header);

/*
 * Completes the image in the decrypted file at data: its length field takes the place of the
 * reserved word, where the image then begins. Returns its length in bytes, that field included.
 */
uint32_t dbimage_completeImage(void *data);

/*
 * Decrypts the application database file of size bytes at data and prepares its image. type is
 * not used. versionOut gets the accepted version when the file has another one, see
 * appmngr_checkVersion. The image stays in a buffer of its own until the container is done.
 * Returns 0, -1 when memory is short, APPMNGR_ERR_FILE_CHECK, APPMNGR_ERR_FILE_INVALID_LEN,
 * APPMNGR_ERR_FILE_INVALID_VERSION, or APPMNGR_ERR_SIZE_LARGE for an image of more than 65,536
 * bytes.
 */
int appmngr_db_writeAppDbFromDatabase(uint32_t type, uint32_t size, const void *data,
                                      char *versionOut);

/*
 * The same for the priority database, in the buffers of apppri_DBResAlloc, which it releases. Any
 * version is accepted; type and versionOut are not used. Returns 0, what apppri_DBResAlloc
 * returned, APPMNGR_ERR_FILE_CHECK or APPMNGR_ERR_FILE_INVALID_LEN.
 */
int apppri_writeApppriDbFromDatabase(uint32_t type, uint32_t size, const void *data,
                                     char *versionOut);

/*
 * Returns 1 when version is one of 1.2. Otherwise writes the five characters 1.2.x, without a
 * terminator, to out and returns 0. A null argument gives 0.
 */
int appmngr_checkVersion(const char *version, char *out);

/* ---- Encryption ------------------------------------------------------------------------ */

/* The key of the database files, 8 bytes; parity bits are ignored. */
extern const unsigned char g_appmngr_databaseKey[8];

/*
 * Decrypts the database file of srcLen bytes at src into dst and checks its digest. *pDstLen is
 * the room in dst, more than srcLen + 7; it becomes the length of header and payload, which then
 * begin at dst. Returns 1, or
 *   -1  a null argument
 *   -2  srcLen below 17 or not below *pDstLen
 *   -3  not decrypted: too little room
 *   -4  another digest, unreported; *pDstLen is set and the plaintext, with its digest, is in dst
 */
int appmngr_decrypt(void *dst, uint32_t *pDstLen, const void *src, uint32_t srcLen);

/*
 * Encrypts (encrypt non-zero) or decrypts srcLen bytes at src with single DES, block by block and
 * without an initialisation vector. dst has room for dstLen bytes, at least srcLen + 8. key has 8
 * bytes. A last partial block is completed with zeros; encrypting writes it whole, decrypting as
 * far as srcLen. Returns the number of bytes written, 0 for a null argument or too little room.
 */
int wexal_des_min_do(const void *src, int32_t srcLen, void *dst, int32_t dstLen, const void *key,
                     int encrypt);

/* ---- Digest and sealing ---------------------------------------------------------------- */

/* Writes the 16-byte MD5 of len bytes at data to digest. */
void md5_digest(void *digest, const void *data, uint32_t len);

/* Returns 1 when the MD5 of len bytes at data is the 16 bytes at expected, else 0. */
int md5_verify(const void *expected, const void *data, uint32_t len);

/*
 * A sealed buffer is the MD5 of the plaintext, then the plaintext, filled up with zeros to a
 * multiple of 8, in DES-ECB under key. Seals (seal non-zero) or unseals srcLen bytes at src;
 * dst has room for dstLen bytes, at least srcLen + 24 to seal and srcLen - 8 to unseal. Unsealing
 * does not report a wrong digest, and keeps the zeros. Returns the number of bytes in dst, or -1
 * when there is too little room.
 */
int md5_des_seal(const void *src, int32_t srcLen, void *dst, int32_t dstLen, const void *key,
                 int seal);

/*
 * Seals or unseals a file of at most 16,382 bytes with the database key. Returns 0 when outPath
 * was opened, even if writing failed, else -1. System errors are reported on standard error.
 */
int md5_des_sealFile(const char *inPath, const char *outPath, int seal);

#ifdef __cplusplus
}
#endif

#endif
