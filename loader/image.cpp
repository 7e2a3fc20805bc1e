// The database file and the image in it.

#include "loader/loader.h"

#include <stdio.h>
#include <string.h>

static const char *databasePath;

int appmngr_checkDbPath(const char *path)
{
    databasePath = path;
    FILE *file = path != nullptr ? fopen(path, "r") : nullptr;
    if (file == nullptr) {
        return -1;
    }
    fclose(file);
    return 0;
}

int appmngr_readFile(uint32_t offset, uint32_t size, void *buffer)
{
    FILE *file = buffer != nullptr && databasePath != nullptr ? fopen(databasePath, "r") : nullptr;
    if (file == nullptr) {
        return -1;
    }
    // A pipe is read from where it is, and a file that ends early leaves the rest of the buffer as
    // it was; the decoder finds out.
    (void)fseek(file, static_cast<long>(offset), SEEK_SET);
    size_t items = fread(buffer, size, 1, file);
    (void)items;
    fclose(file);
    return 0;
}

int _appmngr_readAppDb(void)
{
    if (g_appmngr_imageBuf != nullptr) {
        memset(g_appmngr_imageBuf, 0, APPMNGR_IMAGE_SIZE);
    }
    if (appmngr_readFile(g_appmngr_settings.imageOffset, APPMNGR_IMAGE_SIZE, g_appmngr_imageBuf) ==
        -1) {
        perror("read db flash fail\n");
        return -1;
    }
    const uint32_t size = g_appmngr_settings.xmlBufSize;
    uint32_t written = size;
    appmngr_unpackImage(g_appmngr_xmlBuf, &written, g_appmngr_imageBuf);
    g_appmngr_xmlBuf[written < size ? written : size - 1] = '\0';
    if (size <= written) {
        APPMNGR_ERROR(2167, "Size of buffer \"%d\" is too small.\n", static_cast<int>(size));
        return -1;
    }
    return 0;
}
