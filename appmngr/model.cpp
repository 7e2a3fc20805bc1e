// The state of the application database: its tables, the buffers of a load, and its result codes.
//
// A rule as the kernel gets it, host byte order but for the addresses:
//
//     0        4        8        12      14      16     17     20              308           596
//     +--------+--------+--------+-------+-------+------+------+---------------+---------------+
//     | appId  | sip    | dip    | sport | dport | proto| 0    | orig          | reply         |
//     +--------+--------+--------+-------+-------+------+------+---------------+---------------+
//
// and in it, for each direction:
//
//     0        4        8        12         16             32                             288
//     +--------+--------+--------+----------+--------------+-------------------------------+
//     | enable | start  | end    | minlength| dpiType      | dpiCode                       |
//     +--------+--------+--------+----------+--------------+-------------------------------+

#include "appmngr/appmngr_model.h"

#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static_assert(sizeof(appmngr_feature) == 288);
static_assert(offsetof(appmngr_feature, dpiType) == 16);
static_assert(offsetof(appmngr_feature, dpiCode) == 32);
static_assert(sizeof(appmngr_rule) == 596);
static_assert(offsetof(appmngr_rule, sport) == 12);
static_assert(offsetof(appmngr_rule, proto) == 16);
static_assert(offsetof(appmngr_rule, orig) == 20);
static_assert(offsetof(appmngr_rule, reply) == 308);
static_assert(sizeof(appmngr_dnsRule) == 20);
static_assert(sizeof(appmngr_app) == 136);
static_assert(sizeof(appmngr_appType) == 644);
static_assert(sizeof(appmngr_counters) == 13 * sizeof(uint32_t));

void appmngr_report(const char *function, int line, const char *format, ...)
{
    printf("[Error](%s) %d: ", function, line);
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
}

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

appmngr_appDb g_appmngr_appDb;
appmngr_app *g_appmngr_app;
appmngr_dnsTable g_appmngr_appDns;
appmngr_counters g_appmngr_count;
uint32_t g_appmngr_typeIds[APPMNGR_TYPE_MAX];
appmngr_appDescDb g_appmngr_appDesc;

// Allocates count zeroed records. Returns whether there was memory for them.
template <typename Record> static bool allocate(Record **table, uint32_t count)
{
    *table = static_cast<Record *>(calloc(count, sizeof(Record)));
    return *table != nullptr;
}

int _appmngr_alloc_for_appdb(void)
{
    if (g_appmngr_appDb.rule != nullptr) {
        appmngr_appdb_free();
    }
    const appmngr_counters *count = &g_appmngr_count;
    g_appmngr_appDb.ruleCount = count->tuple;
    g_appmngr_appDb.typeCount = count->typeId;
    g_appmngr_appDns.count = count->dnsKw;
    if (count->tuple == 0 || count->typeId == 0 || count->app == 0 ||
        count->typeId > APPMNGR_TYPE_MAX) {
        return -1;
    }
    bool isAllocated = allocate(&g_appmngr_appDb.rule, count->tuple) &&
                       allocate(&g_appmngr_appDb.type, count->typeId) &&
                       allocate(&g_appmngr_app, count->app);
    if (isAllocated && count->dnsKw != 0 && !allocate(&g_appmngr_appDns.rule, count->dnsKw)) {
        puts("Allocate for g_appmngr_appDns.rule FAILED");
        isAllocated = false;
    }
    if (!isAllocated) {
        appmngr_appdb_free();
        return -1;
    }
    return 0;
}

void appmngr_appdb_free(void)
{
    free(g_appmngr_appDb.rule);
    free(g_appmngr_appDb.type);
    g_appmngr_appDb = {};
    free(g_appmngr_app);
    g_appmngr_app = nullptr;
    if (g_appmngr_appDns.rule != nullptr) {
        free(g_appmngr_appDns.rule);
        puts("**********************************");
        puts("Free g_appmngr_appDns.rule");
        puts("**********************************");
    }
    g_appmngr_appDns = {};
}

int appmngr_appdesc_alloc(void)
{
    appmngr_appdesc_free();
    g_appmngr_appDesc.appCount = g_appmngr_count.descApp;
    g_appmngr_appDesc.typeCount = g_appmngr_count.descType;
    if (g_appmngr_appDesc.appCount == 0 || g_appmngr_appDesc.typeCount == 0) {
        return -1;
    }
    if (!allocate(&g_appmngr_appDesc.app, g_appmngr_appDesc.appCount) ||
        !allocate(&g_appmngr_appDesc.type, g_appmngr_appDesc.typeCount)) {
        appmngr_appdesc_free();
        return -1;
    }
    return 0;
}

void appmngr_appdesc_free(void)
{
    free(g_appmngr_appDesc.app);
    free(g_appmngr_appDesc.type);
    g_appmngr_appDesc = {};
}

int appmngr_dbReInit(void)
{
    appmngr_appdb_free();
    appmngr_appdesc_free();
    memset(g_appmngr_typeIds, 0, sizeof(g_appmngr_typeIds));
    memset(&g_appmngr_count, 0, sizeof(g_appmngr_count));
    return 0;
}

template <typename Record> static Record *findById(Record *table, uint32_t count, uint32_t id)
{
    for (uint32_t i = 0; table != nullptr && i < count; i++) {
        if (table[i].id == id) {
            return &table[i];
        }
    }
    return nullptr;
}

appmngr_appType *_appmngr_getAppTypeBydId(uint32_t id)
{
    return findById(g_appmngr_appDb.type, g_appmngr_appDb.typeCount, id);
}

appmngr_app *appmngr_getAppById(uint32_t id)
{
    return findById(g_appmngr_app, g_appmngr_count.app, id);
}

// A row for a result code.
#define CODE(name)  \
    {               \
        name, #name \
    }

static constexpr struct {
    int code;
    const char *name;
} resultCodes[] = {
    CODE(APPMNGR_SUCCESS),
    CODE(APPMNGR_ERR_FAILED),
    CODE(APPMNGR_ERR_INVALID_ARG),
    CODE(APPMNGR_ERR_NO_MEMORY),
    CODE(APPMNGR_ERR_NOT_FOUND),
    CODE(APPMNGR_ERR_OUT_OF_BOUNDARY),
    CODE(APPMNGR_ERR_NOT_INIT),
    CODE(APPMNGR_ERR_EXIST),
    CODE(APPMNGR_ERR_USING),
    CODE(APPMNGR_ERR_SIZE_SMALL),
    CODE(APPMNGR_ERR_SIZE_LARGE),
    CODE(APPMNGR_ERR_ITEM_FULL),
    CODE(APPMNGR_ERR_ALLOC_UKEY),
    CODE(APPMNGR_ERR_REVISE),
    CODE(APPMNGR_ERR_ANALYZE),
    CODE(APPMNGR_ERR_KERNEL),
    CODE(APPMNGR_ERR_CONFIG),
    CODE(APPMNGR_ERR_LOAD),
    CODE(APPMNGR_ERR_FILE_INVALID_FORMAT),
    CODE(APPMNGR_ERR_FILE_INVALID_LEN),
    CODE(APPMNGR_ERR_FILE_CHECK),
    CODE(APPMNGR_ERR_FILE_INVALID_VERSION),
    CODE(APPMNGR_ERR_FILE_SAVE_ERROR),
    CODE(APPMNGR_ERR_FILE_UNKNOWN_ERROR),
};

const char *appmngr_errToStr(int16_t code)
{
    for (const auto &row : resultCodes) {
        if (row.code == code) {
            return row.name;
        }
    }
    return "ERROR NOT IN LIST";
}
