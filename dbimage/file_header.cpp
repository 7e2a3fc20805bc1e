#include "dbimage/dbimage_internal.h"

#include <arpa/inet.h>
#include <stddef.h>
#include <string.h>

static_assert(sizeof(dbimage_fileHeader) == 16, "file header");
static_assert(offsetof(dbimage_fileHeader, version) == 5, "file header");
static_assert(offsetof(dbimage_fileHeader, magic) == 8, "file header");
static_assert(offsetof(dbimage_fileHeader, reserved) == 12, "file header");

dbimage_fileHeader _dbimage_readHeader(const void *decrypted)
{
    dbimage_fileHeader header;
    memcpy(&header, decrypted, sizeof header);
    return header;
}

int _dbimage_isKnownMagic(const dbimage_fileHeader *header)
{
    const uint32_t magic = ntohl(header->magic);
    return magic == DBIMAGE_MAGIC || magic == 0;
}

uint32_t _dbimage_completeImage(void *decrypted)
{
    dbimage_fileHeader header = _dbimage_readHeader(decrypted);
    header.reserved = header.length;
    memcpy(decrypted, &header, sizeof header);
    return ntohl(header.length) + static_cast<uint32_t>(sizeof header.reserved);
}
