// From the elements of the document to the model.

#include "apppri/apppri_internal.h"

#include "appmngr/appmngr.h"

#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

namespace
{

// What the steps for the children of an element work on.
struct Target {
    void *record;         // gets the values
    apppri_sort *sort;    // gets the applications; null above a sort
    uint32_t *appCounter; // counts the applications; null above a sort
};

// What is done with an element.
struct Step {
    const char *tag; // matched without regard to ASCII letter case
    int (*run)(const XmlpNode *node, const Target *target, const Step *step);
    size_t offset;       // of the value in the record
    uint32_t size;       // of a text in the record
    int line;            // reported when the step fails
    const char *message; // null for a step that cannot fail
};

// What the children of an element may be. Several steps for one tag run in their order.
struct Vocabulary {
    const char *function; // named in the messages
    int unknownLine;      // reports any other child
    Step steps[8];        // up to a null tag
};

} // namespace

// ---- Lists -----------------------------------------------------------------------------

// Returns a zeroed record for list, which gets a sentinel first if it has none; or null.
template <typename Record> static Record *newRecord(Record **list)
{
    auto *record = static_cast<Record *>(calloc(1, sizeof(Record)));
    if (record == nullptr || *list != nullptr) {
        return record;
    }
    record->next = record;
    record->prev = record;
    *list = record;
    return static_cast<Record *>(calloc(1, sizeof(Record)));
}

template <typename Record> static bool isListed(const Record *record)
{
    return record->next != nullptr;
}

// Puts record at the end of list; one that is there already moves.
template <typename Record> static void append(Record *list, Record *record)
{
    if (isListed(record)) {
        record->prev->next = record->next;
        record->next->prev = record->prev;
    }
    record->next = list;
    record->prev = list->prev;
    list->prev->next = record;
    list->prev = record;
}

// ---- Elements --------------------------------------------------------------------------

// Returns node, or its first later sibling that is not empty, or null.
static const XmlpNode *skipEmpty(const XmlpNode *node)
{
    while (node != nullptr && node->type == XMLP_NODE_NONE) {
        node = node->next;
    }
    return node;
}

static bool hasTag(const XmlpNode *node, const char *tag)
{
    return appmngr_strcasecmpSafe(node->name, tag) == 0;
}

// Runs the steps for tag up to the first that fails. Returns how many there are, or -1.
static int runSteps(const Vocabulary *vocabulary, const char *tag, const XmlpNode *node,
                    const Target *target)
{
    int count = 0;
    for (const Step *step = vocabulary->steps; step->tag != nullptr; step++) {
        if (appmngr_strcasecmpSafe(tag, step->tag) != 0) {
            continue;
        }
        if (step->run(node, target, step) != 0) {
            apppri_report(vocabulary->function, step->line, "%s", step->message);
            return -1;
        }
        count++;
    }
    return count;
}

static int parseChildren(const XmlpNode *node, const Vocabulary *vocabulary, const Target *target)
{
    for (node = skipEmpty(xmlp_getChildNode(node, 0)); node != nullptr;
         node = skipEmpty(node->next)) {
        const int count = runSteps(vocabulary, node->name, node, target);
        if (count < 0) {
            return -1;
        }
        if (count == 0) {
            apppri_report(vocabulary->function, vocabulary->unknownLine, "unknown tag:%s\r\n",
                          node->name);
            return -1;
        }
    }
    return 0;
}

// ---- Steps -----------------------------------------------------------------------------

static char *field(const Target *target, const Step *step)
{
    return static_cast<char *>(target->record) + step->offset;
}

static int storeNumber(const XmlpNode *node, const Target *target, const Step *step)
{
    int32_t number;
    if (appmngr_getNodeInt(node, &number) != 0) {
        return -1;
    }
    memcpy(field(target, step), &number, sizeof(number));
    return 0;
}

// Cuts a text that is too long, so that it stays terminated.
static int storeText(const XmlpNode *node, const Target *target, const Step *step)
{
    return appmngr_getNodeString(node, field(target, step), step->size);
}

// Stores a text that may fill its field.
static int storeBytes(const XmlpNode *node, const Target *target, const Step *step)
{
    const char *text = appmngr_getNodeValue(node);
    if (text == nullptr) {
        return -1;
    }
    memset(field(target, step), 0, step->size);
    memcpy(field(target, step), text, strnlen(text, step->size));
    return 0;
}

static int skip(const XmlpNode *, const Target *, const Step *)
{
    return 0;
}

static int parseExpiry(const XmlpNode *, const Target *, const Step *)
{
    return _apppri_strToExpiredTime(apppri_db.expiredTime, apppri_db.expired);
}

static int parseSorts(const XmlpNode *node, const Target *, const Step *)
{
    return apppri_db_parseSortList(node);
}

static int parseApps(const XmlpNode *node, const Target *target, const Step *)
{
    return apppri_db_parseAppList(node, target->sort, target->appCounter);
}

static int listSort(const XmlpNode *, const Target *target, const Step *)
{
    append(apppri_db.appSortList, target->sort);
    return 0;
}

static int listApp(const XmlpNode *, const Target *target, const Step *)
{
    append(target->sort->appList, static_cast<apppri_app *>(target->record));
    return 0;
}

// ---- Vocabulary ------------------------------------------------------------------------

// Of the counting pass; its tags are dotted paths.
static const Vocabulary countedPaths = {
    "apppri_parseThroughXML",
    0,
    {
        {"root.appSortDB.sortNum", storeNumber, offsetof(apppri_database, sortNum), 0, 961,
         "apppri sort num not found!\r\n"},
        {"root.appSortDB.appNum", storeNumber, offsetof(apppri_database, appNum), 0, 979,
         "apppri app num not found!\r\n"},
        {"root.appSortDB.ver", storeBytes, offsetof(apppri_database, ver), sizeof(apppri_db.ver),
         997, "apppri ver not found!\r\n"},
    },
};

static const Vocabulary appSortDB = {
    "apppri_db_parseAppSortDB",
    861,
    {
        {"ver", storeText, offsetof(apppri_database, ver), sizeof(apppri_db.ver), 801,
         "Get version value failed.\r\n"},
        {"proModel", storeText, offsetof(apppri_database, proModel), sizeof(apppri_db.proModel),
         821, "Get pro model value failed.\r\n"},
        {"expired", storeText, offsetof(apppri_database, expired), sizeof(apppri_db.expired), 846,
         "Get EXPIRED value failed.\r\n"},
        {"expired", parseExpiry, 0, 0, 840, "_apppri_strToExpiredTime FAILED\r\n"},
        {"sortList", parseSorts, 0, 0, 854, "Proc forest FAILED\r\n"},
        {"sortNum", skip, 0, 0, 0, nullptr},
        {"appNum", skip, 0, 0, 0, nullptr},
    },
};

// A sort is listed by its type alone.
static const Vocabulary sortElement = {
    "apppri_db_parseSort",
    684,
    {
        {"id", storeNumber, offsetof(apppri_sort, id), 0, 613, "apppri sortId not found!\r\n"},
        {"name", storeBytes, offsetof(apppri_sort, name), APPPRI_NAME_SIZE, 635,
         "apppri sortName not found!\r\n"},
        {"prio", storeNumber, offsetof(apppri_sort, prio), 0, 652, "apppri prio not found!\r\n"},
        {"type", storeNumber, offsetof(apppri_sort, type), 0, 669,
         "apppri sortType not found!\r\n"},
        {"type", listSort, 0, 0, 0, nullptr},
        {"appList", parseApps, 0, 0, 678, "apppri_db_parseAppList error!\r\n"},
    },
};

// An application is listed by its appName alone.
static const Vocabulary appElement = {
    "apppri_db_parseApp",
    486,
    {
        {"appId", storeNumber, offsetof(apppri_app, appId), 0, 438, "apppri appId not found!\r\n"},
        {"appType", storeNumber, offsetof(apppri_app, appType), 0, 456,
         "apppri appType not found!\r\n"},
        {"appName", storeBytes, offsetof(apppri_app, appName), APPPRI_NAME_SIZE, 478,
         "apppri appName not found!\r\n"},
        {"appName", listApp, 0, 0, 0, nullptr},
    },
};

// ---- Walkers ---------------------------------------------------------------------------

int apppri_parseThroughXML(const char *prefix, const XmlpNode *node)
{
    static const size_t longestPath = sizeof("root.appSortDB.sortNum") - 1;
    const Target target = {&apppri_db, nullptr, nullptr};
    for (node = skipEmpty(node); node != nullptr; node = skipEmpty(node->next)) {
        char path[128];
        snprintf(path, sizeof(path), "%s.%s", prefix, node->name);
        if (runSteps(&countedPaths, path, node, &target) < 0) {
            return -1;
        }
        // Every level makes the path longer, so this also bounds the recursion.
        if (strlen(path) < longestPath) {
            apppri_parseThroughXML(path, node->firstChild);
        }
    }
    return 0;
}

int apppri_db_parseAll(const XmlpNode *node)
{
    for (node = skipEmpty(node); node != nullptr; node = skipEmpty(node->next)) {
        if (!hasTag(node, "AppSortDB")) {
            APPPRI_ERROR(910, "unknown tag:%s\r\n", node->name);
            return -1;
        }
        if (apppri_db_parseAppSortDB(node) != 0) {
            APPPRI_ERROR(903, "apppri_db_parseAppSortDB FAILED\r\n");
            return -1;
        }
    }
    return 0;
}

int apppri_db_parseAppSortDB(const XmlpNode *node)
{
    const Target target = {&apppri_db, nullptr, nullptr};
    return parseChildren(node, &appSortDB, &target);
}

int apppri_db_parseSortList(const XmlpNode *node)
{
    uint32_t sortCount = 0;
    uint32_t appCounter = 0;
    for (node = skipEmpty(xmlp_getChildNode(node, 0)); node != nullptr;
         node = skipEmpty(node->next)) {
        if (!hasTag(node, "sort")) {
            APPPRI_ERROR(735, "unknown tag:%s\r\n", node->name);
            return -1;
        }
        if (apppri_db_parseSort(node, &appCounter) != 0) {
            APPPRI_ERROR(728, "apppri_db_parseSort %u FAILED\r\n\r\n", sortCount);
            return -1;
        }
        sortCount++;
    }
    if (sortCount != static_cast<uint32_t>(apppri_db.sortNum)) {
        APPPRI_ERROR(744, "apppri_db_sort count error [%u]!\r\n", sortCount);
        return -1;
    }
    if (appCounter != static_cast<uint32_t>(apppri_db.appNum)) {
        APPPRI_ERROR(749, "apppri_db_app count error [%u]!\r\n", appCounter);
        return -1;
    }
    return 0;
}

int apppri_db_parseSort(const XmlpNode *node, uint32_t *appCounter)
{
    apppri_sort *sort = newRecord(&apppri_db.appSortList);
    if (sort == nullptr) {
        return -1;
    }
    const Target target = {sort, sort, appCounter};
    const int result = parseChildren(node, &sortElement, &target);
    if (!isListed(sort)) {
        _apppri_freeSort(sort);
    }
    return result;
}

int apppri_db_parseAppList(const XmlpNode *node, apppri_sort *sort, uint32_t *appCounter)
{
    if (node == nullptr || sort == nullptr || appCounter == nullptr) {
        APPPRI_ERROR(515, "apppri_db_parseAppList params error!\r\n");
        return -1;
    }
    for (node = skipEmpty(xmlp_getChildNode(node, 0)); node != nullptr;
         node = skipEmpty(node->next)) {
        if (!hasTag(node, "app")) {
            APPPRI_ERROR(536, "unknown tag:%s\r\n", node->name);
            return -1;
        }
        if (apppri_db_parseApp(node, sort) != 0) {
            APPPRI_ERROR(529, "apppri_db_parseApp error.\r\n");
            return -1;
        }
        ++*appCounter;
    }
    return 0;
}

int apppri_db_parseApp(const XmlpNode *node, apppri_sort *sort)
{
    const bool hadList = sort->appList != nullptr;
    apppri_app *app = newRecord(&sort->appList);
    if (app == nullptr) {
        const bool hasNewList = !hadList && sort->appList != nullptr;
        APPPRI_ERROR(hasNewList ? 412 : 395, "l_app_pool alloc error.\r\n");
        return -1;
    }
    const Target target = {app, sort, nullptr};
    const int result = parseChildren(node, &appElement, &target);
    if (!isListed(app)) {
        free(app);
    }
    return result;
}

// ---- Expiry date -----------------------------------------------------------------------

// A split asks for at most three pieces and takes room for the null pointer behind them.
static constexpr int pieceRoom = 4;

// Splits text at separator into exactly three numbers.
static int splitNumbers(int32_t *numbers, char *text, char separator)
{
    char *pieces[pieceRoom];
    if (appmngr_string_makeSubStrByChar(text, separator, pieceRoom, pieces) != 3) {
        return -1;
    }
    for (int i = 0; i < 3; i++) {
        numbers[i] = appmngr_atoi(pieces[i]);
    }
    return 0;
}

int _apppri_strToExpiredTime(int32_t *out, const char *text)
{
    if (out == nullptr || text == nullptr) {
        return -1;
    }
    char work[32] = {};
    memcpy(work, text, strnlen(text, sizeof(work) - 1));

    char *pieces[pieceRoom];
    const int32_t count = appmngr_string_makeSubStrByChar(work, ' ', pieceRoom, pieces);
    if (count < 0) {
        APPPRI_ERROR(295, "ucm_string_makeSubStrByChar FAILED\r\n");
        return -1;
    }
    int32_t time[6] = {};
    if (splitNumbers(time, pieces[0], '-') != 0) {
        APPPRI_ERROR(306, "ucm_string_makeSubStrByChar FAILED\r\n\r\n");
        return -1;
    }
    if (count == 2 && splitNumbers(time + 3, pieces[1], ':') != 0) {
        APPPRI_ERROR(336, "ucm_string_makeSubStrByChar FAILED\r\n");
        return -1;
    }
    if (count > 2) {
        // Shows the address of the message instead of the count; kept on purpose.
        static const char message[] = "cnt = %d\r\n";
        APPPRI_ERROR(347, message, static_cast<int>(reinterpret_cast<uintptr_t>(message)));
        return -1;
    }
    memcpy(out, time, sizeof(time));
    return 0;
}
