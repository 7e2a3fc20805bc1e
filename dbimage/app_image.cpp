#include "dbimage/dbimage_internal.h"

#include "appmngr/appmngr_model.h"
#include "loader/loader.h"

#include <arpa/inet.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const uint32_t updateBufSize = 204800;

/* The region of the database file that the image is for. */
static const uint32_t regionOffset = 0;
static const uint32_t regionEnd = APPMNGR_IMAGE_SIZE;

unsigned char *_appmngr_updateBuf = nullptr;

void _appmngr_freeUpdateBuf(void)
{
    free(_appmngr_updateBuf);
    _appmngr_updateBuf = nullptr;
}

int appmngr_checkVersion(const char *version, char *out)
{
    /* Up to the second dot, so that every patch level is accepted. */
    static const char series[] = {'1', '.', '2', '.'};
    if (version == nullptr || out == nullptr) {
        return 0;
    }
    if (strncmp(version, series, sizeof series) == 0) {
        return 1;
    }
    memcpy(out, series, sizeof series);
    out[sizeof series] = 'x';
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
    const dbimage_fileHeader header = _dbimage_readHeader(_appmngr_updateBuf);
    if (length - sizeof header != ntohl(header.length)) {
        // unreachable: appmngr_decrypt takes the length from the header (LCOV_EXCL_START)
        APPMNGR_ERROR(2770, "LEN ERROR AFTER appmngr_decrypt! lenBigEndian = %d, dstLen = %d\n",
                      static_cast<int>(ntohl(header.length)), static_cast<int>(length));
        return APPMNGR_ERR_FILE_INVALID_LEN;
        // LCOV_EXCL_STOP
    }
    char version[sizeof "255.255.255"];
    snprintf(version, sizeof version, "%u.%u.%u", header.version[0], header.version[1],
             header.version[2]);
    if (!appmngr_checkVersion(version, versionOut)) {
        APPMNGR_ERROR(2783, "AppDesc Invalid version: [%s]!\n", version);
        return APPMNGR_ERR_FILE_INVALID_VERSION;
    }
    if (!_dbimage_isKnownMagic(&header)) {
        APPMNGR_ERROR(2806, "Magic code error!\n");
        return APPMNGR_ERR_FILE_CHECK;
    }
    if (header.reserved != 0) {
        APPMNGR_ERROR(2815, "Reserved value error: %d, %d\n", 0, static_cast<int>(header.reserved));
        return APPMNGR_ERR_FILE_CHECK;
    }
    const uint32_t imageLength = _dbimage_completeImage(_appmngr_updateBuf);
    if (imageLength > regionEnd - regionOffset) {
        APPMNGR_ERROR(2827, "the app db file is too long:%u\n", imageLength);
        return APPMNGR_ERR_SIZE_LARGE;
    }
    return APPMNGR_SUCCESS;
}
