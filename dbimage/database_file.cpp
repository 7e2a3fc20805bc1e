// Database files of a container: decryption, the header, and the images of both databases.

#include "dbimage/dbimage_internal.h"

#include "appmngr/appmngr_model.h"
#include "apppri/apppri.h"
#include "loader/loader.h"

#include <arpa/inet.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static_assert(sizeof(dbimage_fileHeader) == 16, "file header");
static_assert(offsetof(dbimage_fileHeader, version) == 5, "file header");
static_assert(offsetof(dbimage_fileHeader, magic) == 8, "file header");
static_assert(offsetof(dbimage_fileHeader, reserved) == 12, "file header");

static constexpr uint32_t headerSize = sizeof(dbimage_fileHeader);
static constexpr uint32_t updateBufSize = 204800;

unsigned char *_appmngr_updateBuf;

int appmngr_decrypt(void *dst, uint32_t *pDstLen, const void *src, uint32_t srcLen)
{
    if (dst == nullptr || pDstLen == nullptr || src == nullptr) {
        APPMNGR_ERROR(2646, "Invalid param!\n");
        return -1;
    }
    const uint32_t capacity = *pDstLen;
    if (srcLen <= DBIMAGE_DIGEST_SIZE || capacity <= srcLen) {
        APPMNGR_ERROR(2653, "invalid length: srcLen = [%d] *pDstlen = [%d]\n",
                      static_cast<int>(srcLen), static_cast<int>(capacity));
        return -2;
    }
    memset(dst, 0, capacity);
    const int length = wexal_des_min_do(src, static_cast<int32_t>(srcLen), dst,
                                        static_cast<int32_t>(capacity), g_appmngr_databaseKey, 0);
    if (length <= DBIMAGE_DIGEST_SIZE) {
        APPMNGR_ERROR(2675, "wexal_des_min_do failed: length = [%d]\n", length);
        return -3;
    }
    unsigned char *const digested = static_cast<unsigned char *>(dst) + DBIMAGE_DIGEST_SIZE;
    // The file may end before its header does.
    uint32_t payloadLength = 0;
    memcpy(&payloadLength, digested, sizeof(payloadLength));
    payloadLength = ntohl(payloadLength);
    *pDstLen = payloadLength + headerSize;

    // The length is the file's own claim; its sum may have wrapped.
    const uint64_t end = uint64_t{DBIMAGE_DIGEST_SIZE} + headerSize + payloadLength;
    if (end > capacity || !md5_verify(dst, digested, *pDstLen)) {
        return -4;
    }
    memmove(dst, digested, *pDstLen);
    return 1;
}

dbimage_fileHeader dbimage_readHeader(const void *data)
{
    dbimage_fileHeader header;
    memcpy(&header, data, sizeof(header));
    return header;
}

int dbimage_isKnownMagic(const dbimage_fileHeader *header)
{
    const uint32_t magic = ntohl(header->magic);
    return magic == DBIMAGE_MAGIC || magic == 0;
}

uint32_t dbimage_completeImage(void *data)
{
    dbimage_fileHeader header = dbimage_readHeader(data);
    header.reserved = header.length;
    memcpy(data, &header, sizeof(header));
    return ntohl(header.length) + static_cast<uint32_t>(sizeof(header.reserved));
}

int appmngr_checkVersion(const char *version, char *out)
{
    // Up to the second dot, so that every patch level is accepted.
    static const char series[] = {'1', '.', '2', '.'};
    if (version == nullptr || out == nullptr) {
        return 0;
    }
    if (strncmp(version, series, sizeof(series)) == 0) {
        return 1;
    }
    memcpy(out, series, sizeof(series));
    out[sizeof(series)] = 'x';
    return 0;
}

int appmngr_db_writeAppDbFromDatabase(uint32_t, uint32_t size, const void *data, char *versionOut)
{
    if (_appmngr_updateBuf == nullptr) {
        _appmngr_updateBuf = static_cast<unsigned char *>(malloc(updateBufSize));
    }
    if (_appmngr_updateBuf == nullptr) {
        APPMNGR_ERROR(2753, "alloc memory fail\n");
        return -1;
    }
    uint32_t length = updateBufSize;
    if (appmngr_decrypt(_appmngr_updateBuf, &length, data, size) <= 0) {
        APPMNGR_ERROR(2760, "appmngr_decrypt failed\n");
        return APPMNGR_ERR_FILE_CHECK;
    }
    const dbimage_fileHeader header = dbimage_readHeader(_appmngr_updateBuf);
    if (length - headerSize != ntohl(header.length)) {
        // unreachable: appmngr_decrypt takes the length from the header (LCOV_EXCL_START)
        APPMNGR_ERROR(2770, "LEN ERROR AFTER appmngr_decrypt! lenBigEndian = %d, dstLen = %d\n",
                      static_cast<int>(ntohl(header.length)), static_cast<int>(length));
        return APPMNGR_ERR_FILE_INVALID_LEN;
        // LCOV_EXCL_STOP
    }
    char version[sizeof("255.255.255")];
    snprintf(version, sizeof(version), "%u.%u.%u", header.version[0], header.version[1],
             header.version[2]);
    if (!appmngr_checkVersion(version, versionOut)) {
        APPMNGR_ERROR(2783, "AppDesc Invalid version: [%s]!\n", version);
        return APPMNGR_ERR_FILE_INVALID_VERSION;
    }
    if (!dbimage_isKnownMagic(&header)) {
        APPMNGR_ERROR(2806, "Magic code error!\n");
        return APPMNGR_ERR_FILE_CHECK;
    }
    if (header.reserved != 0) {
        APPMNGR_ERROR(2815, "Reserved value error: %d, %d\n", 0, static_cast<int>(header.reserved));
        return APPMNGR_ERR_FILE_CHECK;
    }
    const uint32_t imageLength = dbimage_completeImage(_appmngr_updateBuf);
    if (imageLength > APPMNGR_IMAGE_SIZE) {
        APPMNGR_ERROR(2827, "the app db file is too long:%u\n", imageLength);
        return APPMNGR_ERR_SIZE_LARGE;
    }
    return APPMNGR_SUCCESS;
}

int apppri_writeApppriDbFromDatabase(uint32_t, uint32_t size, const void *data, char *)
{
    const int allocated = apppri_DBResAlloc();
    if (allocated != 0) {
        APPPRI_ERROR(1906, "DBResInit error.\r\n");
        apppri_DBResFree();
        return allocated;
    }
    uint32_t length = g_apppri_profile.bufSize;
    printf("dbMemSize %u, %u, appmapSize %u, appprioRuleMaxNum %u.\r\n", length, length,
           g_apppri_profile.mapSize, g_apppri_profile.ruleMaxNum);

    const int decrypted = appmngr_decrypt(apppri_db.xmlBuf, &length, data, size);
    // All zeros when nothing was decrypted. The version of this database is not checked.
    const dbimage_fileHeader header = dbimage_readHeader(apppri_db.xmlBuf);
    int result = APPMNGR_SUCCESS;
    if (decrypted <= 0) {
        APPPRI_ERROR(1922, "appmngr_decrypt FAILED\r\n\r\n");
        result = APPMNGR_ERR_FILE_CHECK;
    } else if (length - headerSize != ntohl(header.length)) {
        // unreachable: appmngr_decrypt takes the length from the header (LCOV_EXCL_START)
        APPPRI_ERROR(1938,
                     "LEN ERROR AFTER appmngr_decrypt! lenBigEndian = %d, dstLen = %d\r\n\r\n",
                     static_cast<int>(ntohl(header.length)), static_cast<int>(length));
        result = APPMNGR_ERR_FILE_INVALID_LEN;
        // LCOV_EXCL_STOP
    } else if (!dbimage_isKnownMagic(&header) || header.reserved != 0) {
        APPPRI_ERROR(1979, "Reserved value error: %d, %d\r\n\r\n",
                     static_cast<int>(ntohl(header.magic)), static_cast<int>(header.reserved));
        result = APPMNGR_ERR_FILE_CHECK;
    } else {
        dbimage_completeImage(apppri_db.xmlBuf);
    }
    apppri_DBResFree();
    return result;
}

int _dbimage_writeFile(const dbimage_file *file)
{
    char acceptedVersion[8];
    int result = APPMNGR_SUCCESS;
    if (file->type == DBIMAGE_TYPE_APP) {
        result =
            appmngr_db_writeAppDbFromDatabase(file->type, file->size, file->data, acceptedVersion);
        free(_appmngr_updateBuf);
        _appmngr_updateBuf = nullptr;
    } else if (file->type == DBIMAGE_TYPE_PRIORITY) {
        result =
            apppri_writeApppriDbFromDatabase(file->type, file->size, file->data, acceptedVersion);
    }
    return result;
}
