#include "dbimage/dbimage_internal.h"

#include "appmngr/appmngr_model.h"
#include "apppri/apppri.h"
#include "apppri/diagnostic.h"

#include <arpa/inet.h>
#include <stdio.h>

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
    /* All zeros when nothing was decrypted. The version of this database is not checked. */
    const dbimage_fileHeader header = _dbimage_readHeader(apppri_db.xmlBuf);
    int result = APPMNGR_SUCCESS;
    if (decrypted <= 0) {
        APPPRI_ERROR(1922, "appmngr_decrypt FAILED\r\n\r\n");
        result = APPMNGR_ERR_FILE_CHECK;
    } else if (length - sizeof header != ntohl(header.length)) {
        // unreachable: appmngr_decrypt takes the length from the header (LCOV_EXCL_START)
        APPPRI_ERROR(1938,
                     "LEN ERROR AFTER appmngr_decrypt! lenBigEndian = %d, dstLen = %d\r\n\r\n",
                     static_cast<int>(ntohl(header.length)), static_cast<int>(length));
        result = APPMNGR_ERR_FILE_INVALID_LEN;
        // LCOV_EXCL_STOP
    } else if (!_dbimage_isKnownMagic(&header) || header.reserved != 0) {
        APPPRI_ERROR(1979, "Reserved value error: %d, %d\r\n\r\n",
                     static_cast<int>(ntohl(header.magic)), static_cast<int>(header.reserved));
        result = APPMNGR_ERR_FILE_CHECK;
    } else {
        _dbimage_completeImage(apppri_db.xmlBuf);
    }
    apppri_DBResFree();
    return result;
}
