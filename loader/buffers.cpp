// The working buffers of a load.

#include "loader/diagnostic.h"
#include "loader/image.h"

#include <stdlib.h>
#include <string.h>

const appmngr_settings g_appmngr_settings = {204800, 51200, 0, {65536, 98304, 163840}};

unsigned char *g_appmngr_imageBuf;
char *g_appmngr_xmlBuf;
unsigned char *g_appmngr_scratchBuf;

int appmngr_file_alloc(void)
{
    const uint32_t scratchSize = g_appmngr_settings.scratchBufSize;
    const uint32_t xmlSize = g_appmngr_settings.xmlBufSize;
    if (g_appmngr_scratchBuf == nullptr) {
        g_appmngr_scratchBuf = static_cast<unsigned char *>(malloc(scratchSize));
    }
    if (g_appmngr_xmlBuf == nullptr) {
        g_appmngr_xmlBuf = static_cast<char *>(malloc(xmlSize));
    }
    // One that is there is overwritten, not freed: a process loads once.
    g_appmngr_imageBuf = static_cast<unsigned char *>(malloc(APPMNGR_IMAGE_SIZE));

    if (g_appmngr_scratchBuf == nullptr || g_appmngr_xmlBuf == nullptr ||
        g_appmngr_imageBuf == nullptr) {
        APPMNGR_ERROR(2400, "malloc memory faild.\n");
        return -1;
    }
    memset(g_appmngr_scratchBuf, 0, scratchSize);
    memset(g_appmngr_xmlBuf, 0, xmlSize);
    memset(g_appmngr_imageBuf, 0, APPMNGR_IMAGE_SIZE);
    return 0;
}

int appmngr_file_free(void)
{
    free(g_appmngr_scratchBuf);
    g_appmngr_scratchBuf = nullptr;
    free(g_appmngr_xmlBuf);
    g_appmngr_xmlBuf = nullptr;
    free(g_appmngr_imageBuf);
    g_appmngr_imageBuf = nullptr;
    return 0;
}
