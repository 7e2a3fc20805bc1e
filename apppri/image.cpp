// Reading the database image of the file.

#include "apppri/apppri.h"

#include "appmngr/appmngr_model.h"
#include "loader/loader.h"

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
