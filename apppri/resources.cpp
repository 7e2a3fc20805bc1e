// The buffers of a load.

#include "apppri/apppri.h"

#include "apppri/diagnostic.h"

#include <stdlib.h>
#include <string.h>

int apppri_DBResAlloc(void)
{
    if (apppri_db.xmlBuf == nullptr) {
        apppri_db.xmlBuf = static_cast<char *>(malloc(g_apppri_profile.bufSize));
    }
    if (apppri_db.fileBuf == nullptr) {
        apppri_db.fileBuf = static_cast<unsigned char *>(malloc(APPPRI_IMAGE_SIZE));
    }
    if (apppri_db.xmlBuf == nullptr || apppri_db.fileBuf == nullptr) {
        APPPRI_ERROR(1171, "apppri file reinit failed.\r\n\r\n");
        return -1;
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
