// Reading the database image of the file.

#include "loader/image.h"
#include "apppri/apppri.h"

#include "loader/diagnostic.h"

#include <string.h>

static_assert(APPPRI_IMAGE_SIZE == APPMNGR_IMAGE_SIZE, "both are unpacked from the same buffer");

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
    uint32_t length = g_apppri_profile.bufSize;
    appmngr_unpackImage(apppri_db.xmlBuf, &length, apppri_db.fileBuf);
    if (length >= g_apppri_profile.bufSize) {
        APPMNGR_ERROR(1045, "Size of buffer \"%d\" is too small.\n",
                      static_cast<int>(g_apppri_profile.bufSize));
        return -1;
    }
    apppri_db.xmlBuf[length] = '\0';
    return 0;
}
