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

#define DBIMAGE_DIGEST_SIZE   16
#define DBIMAGE_FILES_MAX     16
#define DBIMAGE_CONTAINER_MAX 196600
#define DBIMAGE_MAGIC         0x04000001u /* 0 is accepted too */
#define DBIMAGE_TYPE_APP      0           /* application database */
#define DBIMAGE_TYPE_PRIORITY 3           /* application priority database */

/* What a container begins with; 17 bytes. */
typedef struct dbimage_containerHead {
    uint8_t digest[DBIMAGE_DIGEST_SIZE]; /* does not cover fileCount */
    uint8_t fileCount;
} dbimage_containerHead;

/* What each of its files begins with; 8 bytes. */
typedef struct dbimage_entryHead {
    uint8_t type; /* DBIMAGE_TYPE_...; other types are ignored */
    uint8_t unused[3];
    uint32_t size; /* big-endian */
} dbimage_entryHead;

/* What follows the digest of a database file; 16 bytes. */
typedef struct dbimage_fileHeader {
    uint32_t length; /* of the payload, big-endian */
    uint8_t unused;
    uint8_t version[3]; /* major, minor, patch */
    uint32_t magic;     /* big-endian */
    uint32_t reserved;  /* 0 in a valid file */
} dbimage_fileHeader;

/* A file of a container; data points into the container. */
typedef struct dbimage_file {
    uint32_t type;
    uint32_t size;
    const unsigned char *data;
} dbimage_file;

/* The files of a container, in its order. */
typedef struct dbimage_fileTable {
    uint32_t count;
    dbimage_file file[DBIMAGE_FILES_MAX];
} dbimage_fileTable;

/* Why the structure of a container is invalid: result and diagnostic of the update. */
typedef struct dbimage_fault {
    int code; /* APPMNGR_ERR_... of appmngr/appmngr_model.h */
    int line;
    const char *message;
} dbimage_fault;

/*
 * Checks the container of len bytes at data and prepares a database image from each of its files
 * in order, up to the first failure. Returns 0 or a code of appmngr/appmngr_model.h:
 * APPMNGR_ERR_FILE_INVALID_LEN (unreported if len is out of range), APPMNGR_ERR_FILE_CHECK,
 * APPMNGR_ERR_FILE_INVALID_FORMAT, or what a writer below returned.
 */
int appmngr_db_writeFromDatabase(const void *data, int32_t len);

/*
 * Lists the files of the container of len bytes, at least 17, at data, whatever its digest.
 * Returns null, or what is wrong with its structure; table then has the files up to there. Prints
 * nothing.
 */
const dbimage_fault *dbimage_listFiles(const void *data, uint32_t len, dbimage_fileTable *table);

/* Returns 1 if the digest of the container of len bytes, at least 17, at data is right, else 0. */
int dbimage_verifyDigest(const void *data, uint32_t len);

/* Returns the header of the file at data, decrypted by appmngr_decrypt. */
dbimage_fileHeader dbimage_readHeader(const void *data);

/* Returns 1 if the magic of header is accepted, else 0. */
int dbimage_isKnownMagic(const dbimage_fileHeader *header);

/*
 * Completes the image in the decrypted file at data: its length field replaces the reserved word,
 * and the image begins there. Returns its length in bytes, including that field.
 */
uint32_t dbimage_completeImage(void *data);

/*
 * Decrypts the application database file of size bytes at data and prepares its image, in a buffer
 * that stays allocated until a container with such a file has been processed. type is not used.
 * For a file of another version, versionOut gets the accepted one, see appmngr_checkVersion.
 * Returns 0, -1 if out of memory, APPMNGR_ERR_FILE_CHECK, APPMNGR_ERR_FILE_INVALID_LEN,
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
 * Returns 1 if version is 1.2.x. Otherwise writes the five characters 1.2.x, without a terminator,
 * to out and returns 0. Returns 0 for a null argument.
 */
int appmngr_checkVersion(const char *version, char *out);

/* The key of the database files, 8 bytes; parity bits are ignored. */
extern const unsigned char g_appmngr_databaseKey[8];

/*
 * Decrypts the database file of srcLen bytes at src into dst and checks its digest. *pDstLen is
 * the size of dst, more than srcLen + 7; it becomes the length of header and payload, which then
 * begin at dst. Returns 1, or
 *   -1  a null argument
 *   -2  srcLen is below 17 or not below *pDstLen
 *   -3  not decrypted: dst is too small
 *   -4  wrong digest, unreported; *pDstLen is set and the plaintext, with its digest, is in dst
 */
int appmngr_decrypt(void *dst, uint32_t *pDstLen, const void *src, uint32_t srcLen);

/*
 * Encrypts (encrypt non-zero) or decrypts srcLen bytes at src with single DES in ECB mode. dst has
 * dstLen bytes, at least srcLen + 8; key has 8. A partial last block is padded with zeros;
 * encrypting writes all of it, decrypting only up to srcLen. Returns the number of bytes written,
 * 0 for a null argument or if dst is too small.
 */
int wexal_des_min_do(const void *src, int32_t srcLen, void *dst, int32_t dstLen, const void *key,
                     int encrypt);

/* Writes the 16-byte MD5 of len bytes at data to digest. */
void md5_digest(void *digest, const void *data, uint32_t len);

/* Returns 1 if the MD5 of len bytes at data is the 16 bytes at expected, else 0. */
int md5_verify(const void *expected, const void *data, uint32_t len);

/*
 * A sealed buffer is the MD5 of the plaintext, followed by the plaintext padded with zeros to a
 * multiple of 8 bytes and encrypted with DES-ECB under key. Seals (seal non-zero) or unseals
 * srcLen bytes at src; dst has dstLen bytes, at least srcLen + 24 to seal, srcLen - 8 to unseal.
 * Unsealing ignores a wrong digest and keeps the padding. Returns the number of bytes in dst, or
 * -1 if dst is too small.
 */
int md5_des_seal(const void *src, int32_t srcLen, void *dst, int32_t dstLen, const void *key,
                 int seal);

/*
 * Seals or unseals a file of at most 16,382 bytes with the database key. Returns 0 if outPath was
 * opened, even if writing failed, else -1. System errors are reported on standard error.
 */
int md5_des_sealFile(const char *inPath, const char *outPath, int seal);

#ifdef __cplusplus
}
#endif

#endif
