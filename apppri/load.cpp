// A load, from the database file to the kernel, with its buffers and their sizes.

#include "apppri/apppri.h"

#include "appdist/appdist.h"
#include "loader/loader.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static_assert(APPPRI_IMAGE_SIZE == APPMNGR_IMAGE_SIZE, "both are unpacked from the same buffer");

static constexpr apppri_profile initialProfile = {1, 4096, 65536, 1, 32};

apppri_profile g_apppri_profile = initialProfile;

unsigned char *g_appPriTbl;

int appprio_readParaFromProfile(void)
{
    puts("!!!!!!!!!!!!!!!!!!!!appprio_readParaFromProfile in!!!!!!!!!!!!!!!!!!!!!\r");
    g_apppri_profile = initialProfile;
    return 0;
}

int apppri_DBResAlloc(void)
{
    if (apppri_db.xmlBuf == nullptr) {
        apppri_db.xmlBuf = static_cast<char *>(malloc(g_apppri_profile.bufSize));
    }
    if (apppri_db.fileBuf == nullptr) {
        apppri_db.fileBuf = static_cast<unsigned char *>(malloc(APPPRI_IMAGE_SIZE));
    }
    if (apppri_db.xmlBuf == nullptr || apppri_db.fileBuf == nullptr) {
        return APPPRI_FAIL(1171, "apppri file reinit failed.\r\n\r\n");
    }
    memset(apppri_db.xmlBuf, 0, g_apppri_profile.bufSize);
    memset(apppri_db.fileBuf, 0, APPPRI_IMAGE_SIZE);
    return 0;
}

void apppri_DBResFree(void)
{
    free(apppri_db.xmlBuf);
    apppri_db.xmlBuf = nullptr;
    free(apppri_db.fileBuf);
    apppri_db.fileBuf = nullptr;
}

int apppri_readDBFromFlash(void)
{
    if (apppri_db.fileBuf != nullptr) {
        memset(apppri_db.fileBuf, 0, APPPRI_IMAGE_SIZE);
    }
    if (apppri_db.xmlBuf == nullptr ||
        appmngr_readFile(APPPRI_IMAGE_OFFSET, APPPRI_IMAGE_SIZE, apppri_db.fileBuf) != 0) {
        APPMNGR_ERROR(1023, "read db flash fail\n");
        return -1;
    }
    const uint32_t size = g_apppri_profile.bufSize;
    uint32_t length = size;
    appmngr_unpackImage(apppri_db.xmlBuf, &length, apppri_db.fileBuf);
    apppri_db.xmlBuf[length < size ? length : size - 1] = '\0';
    if (length >= size) {
        APPMNGR_ERROR(1045, "Size of buffer \"%d\" is too small.\n", static_cast<int>(size));
        return -1;
    }
    return 0;
}

int apppri_readAppSortFromDB(void)
{
    int result = apppri_DBResAlloc();
    if (result != 0) {
        APPPRI_ERROR(1858, "DBResInit error.\r\n");
    } else if ((result = apppri_DBReInit()) != 0) {
        // unreachable: it has nothing that could fail (LCOV_EXCL_START)
        APPPRI_ERROR(1864, "apppri_DBReInit error.\r\n");
        // LCOV_EXCL_STOP
    } else if ((result = apppri_readDBFromFlash()) != 0) {
        APPPRI_ERROR(1870, "apppri_readDBFromFlash error.\r\n");
    } else if ((result = apppri_analyzeDBFile()) != 0) {
        APPPRI_ERROR(1876, "apppri_analyzeDBFile error.\r\n");
    }
    apppri_DBResFree();
    return result;
}

int apppri_sendMsgToKernel(void)
{
    const uint32_t size = g_apppri_profile.mapSize;
    appdist_handle *handle = nullptr;
    int result = -1;
    g_appPriTbl = static_cast<unsigned char *>(calloc(size, 1));
    if (g_appPriTbl == nullptr) {
        APPPRI_ERROR(1438, "g_appPriTbl mem malloc error.\r\n");
    } else if (apppri_initPrimapFromDB(g_appPriTbl) != 0) {
        APPPRI_ERROR(1445, " apppri_initPrimapFromDB\r\n");
    } else if ((handle = appdist_create_handle(0, 2)) == nullptr) {
        APPPRI_ERROR(1452, "appdist Failed to initialize handle\n\r\n");
    } else if (appdist_send_buffer(handle, g_appPriTbl, static_cast<int32_t>(size)) < 1) {
        APPPRI_ERROR(1459, "send db to kernel failed\r\n\r\n");
    } else {
        result = 0;
    }
    appdist_destroy_handle(handle);
    free(g_appPriTbl);
    g_appPriTbl = nullptr;
    return result;
}

int apppri_database_init(void)
{
    apppri_DBReInit();
    if (apppri_readAppSortFromDB() != 0) {
        return APPPRI_FAIL(2044, "apppri_readAppSortFromDB failed.\r\n");
    }
    if (apppri_sendMsgToKernel() != 0) {
        return APPPRI_FAIL(2050, "apppri_sendMsgToKernel failed.\r\n");
    }
    return 0;
}
