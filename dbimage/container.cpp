// The container: its digest, its file table, and the update that it carries.

#include "dbimage/dbimage_internal.h"

#include "appmngr/appmngr_model.h"

#include <arpa/inet.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

static_assert(sizeof(dbimage_containerHead) == 17, "container head");
static_assert(offsetof(dbimage_containerHead, fileCount) == 16, "container head");
static_assert(sizeof(dbimage_entryHead) == 8, "entry head");
static_assert(offsetof(dbimage_entryHead, size) == 4, "entry head");

static constexpr uint32_t headSize = sizeof(dbimage_containerHead);

static const dbimage_fault tooManyFiles = {APPMNGR_ERR_FILE_INVALID_FORMAT, 2882,
                                           "FILENUM ERROR\r\n"};
static const dbimage_fault entryPastEnd = {APPMNGR_ERR_FILE_INVALID_LEN, 2903,
                                           "FILESIZE ERROR\r\n"};
static const dbimage_fault bytesLeft = {APPMNGR_ERR_FILE_INVALID_LEN, 2913, "FILESIZE ERROR\r\n"};
static const dbimage_fault countDiffers = {APPMNGR_ERR_FILE_INVALID_FORMAT, 2919,
                                           "FILENUM ERROR\r\n"};

int dbimage_verifyDigest(const void *data, uint32_t len)
{
    return md5_verify(data, static_cast<const unsigned char *>(data) + headSize, len - headSize);
}

const dbimage_fault *dbimage_listFiles(const void *data, uint32_t len, dbimage_fileTable *table)
{
    const auto *bytes = static_cast<const unsigned char *>(data);
    const uint32_t declared = bytes[offsetof(dbimage_containerHead, fileCount)];
    table->count = 0;
    if (declared > DBIMAGE_FILES_MAX) {
        return &tooManyFiles;
    }
    uint32_t count = 0;
    uint32_t at = headSize;
    while (at + sizeof(dbimage_entryHead) < len) {
        dbimage_entryHead head;
        memcpy(&head, bytes + at, sizeof(head));
        at += static_cast<uint32_t>(sizeof(head));
        const uint32_t size = ntohl(head.size);
        if (size > len - at) {
            return &entryPastEnd;
        }
        if (count < DBIMAGE_FILES_MAX) {
            table->file[table->count++] = {head.type, size, bytes + at};
        }
        count++;
        at += size;
    }
    if (at != len) {
        return &bytesLeft;
    }
    return count == declared ? nullptr : &countDiffers;
}

int appmngr_db_writeFromDatabase(const void *data, int32_t len)
{
    const auto length = static_cast<uint32_t>(len);
    if (len < static_cast<int32_t>(headSize) || length > DBIMAGE_CONTAINER_MAX) {
        return APPMNGR_ERR_FILE_INVALID_LEN;
    }
    if (!dbimage_verifyDigest(data, length)) {
        APPMNGR_ERROR(2873, "MD5 error!\r\n");
        return APPMNGR_ERR_FILE_CHECK;
    }
    dbimage_fileTable table;
    const dbimage_fault *fault = dbimage_listFiles(data, length, &table);
    if (fault != nullptr) {
        APPMNGR_ERROR(fault->line, "%s", fault->message);
        return fault->code;
    }
    for (uint32_t i = 0; i < table.count; i++) {
        printf("file index:%u\r\n", i);
        const int result = _dbimage_writeFile(&table.file[i]);
        if (result != APPMNGR_SUCCESS) {
            return result;
        }
    }
    return APPMNGR_SUCCESS;
}
