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

static const dbimage_fault digestFault = {APPMNGR_ERR_FILE_CHECK, 2873, "MD5 error!\r\n"};
static const dbimage_fault tooManyFiles = {APPMNGR_ERR_FILE_INVALID_FORMAT, 2882,
                                           "FILENUM ERROR\r\n"};
static const dbimage_fault entryPastEnd = {APPMNGR_ERR_FILE_INVALID_LEN, 2903,
                                           "FILESIZE ERROR\r\n"};
static const dbimage_fault bytesLeft = {APPMNGR_ERR_FILE_INVALID_LEN, 2913, "FILESIZE ERROR\r\n"};
static const dbimage_fault countDiffers = {APPMNGR_ERR_FILE_INVALID_FORMAT, 2919,
                                           "FILENUM ERROR\r\n"};

/* Stores what fits the table; count is that of all entries. */
static const dbimage_fault *listEntries(const unsigned char *data, uint32_t len,
                                        dbimage_fileTable *table)
{
    uint32_t at = sizeof(dbimage_containerHead);
    while (at + sizeof(dbimage_entryHead) < len) {
        dbimage_entryHead head;
        memcpy(&head, data + at, sizeof head);
        at += static_cast<uint32_t>(sizeof head);
        const uint32_t size = ntohl(head.size);
        if (size > len - at) {
            return &entryPastEnd;
        }
        if (table->count < DBIMAGE_FILES_MAX) {
            table->file[table->count] = {head.type, size, data + at};
        }
        ++table->count;
        at += size;
    }
    return at == len ? nullptr : &bytesLeft;
}

const dbimage_fault *_dbimage_listFiles(const unsigned char *data, uint32_t len,
                                        dbimage_fileTable *table)
{
    dbimage_containerHead head;
    memcpy(&head, data, sizeof head);
    *table = {};
    if (!md5_verify(head.digest, data + sizeof head, len - static_cast<uint32_t>(sizeof head))) {
        return &digestFault;
    }
    if (head.fileCount > DBIMAGE_FILES_MAX) {
        return &tooManyFiles;
    }
    const dbimage_fault *fault = listEntries(data, len, table);
    if (fault == nullptr && table->count != head.fileCount) {
        fault = &countDiffers;
    }
    return fault;
}

static int writeFile(const dbimage_file *file)
{
    char acceptedVersion[8];
    int result = APPMNGR_SUCCESS;
    switch (file->type) {
    case DBIMAGE_TYPE_APP:
        result =
            appmngr_db_writeAppDbFromDatabase(file->type, file->size, file->data, acceptedVersion);
        _appmngr_freeUpdateBuf();
        break;
    case DBIMAGE_TYPE_PRIORITY:
        result =
            apppri_writeApppriDbFromDatabase(file->type, file->size, file->data, acceptedVersion);
        break;
    default:
        break;
    }
    return result;
}

int appmngr_db_writeFromDatabase(const void *data, int32_t len)
{
    if (len < static_cast<int32_t>(sizeof(dbimage_containerHead)) || len > DBIMAGE_CONTAINER_MAX) {
        return APPMNGR_ERR_FILE_INVALID_LEN;
    }
    dbimage_fileTable table;
    const dbimage_fault *fault = _dbimage_listFiles(static_cast<const unsigned char *>(data),
                                                    static_cast<uint32_t>(len), &table);
    if (fault != nullptr) {
        APPMNGR_ERROR(fault->line, "%s", fault->message);
        return fault->code;
    }
    for (uint32_t i = 0; i < table.count; ++i) {
        printf("file index:%u\r\n", i);
        const int result = writeFile(&table.file[i]);
        if (result != APPMNGR_SUCCESS) {
            return result;
        }
    }
    return APPMNGR_SUCCESS;
}
