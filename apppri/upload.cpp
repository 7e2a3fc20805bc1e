// The priority map on its way to the kernel.

#include "apppri/apppri.h"

#include "appdist/appdist.h"
#include "apppri/diagnostic.h"

#include <stdlib.h>

unsigned char *g_appPriTbl;

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
