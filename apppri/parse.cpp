// From the elements of the document to the model.

#include "apppri/apppri_internal.h"

#include "appmngr/appmngr.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

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

// Returns node, or its first later sibling that is not empty, or null.
static const XmlpNode *skipEmpty(const XmlpNode *node)
{
    while (node != nullptr && node->type == XMLP_NODE_NONE) {
        node = node->next;
    }
    return node;
}

static const XmlpNode *firstChild(const XmlpNode *node)
{
    return skipEmpty(xmlp_getChildNode(node, 0));
}

static bool hasTag(const XmlpNode *node, const char *tag)
{
    return appmngr_strcasecmpSafe(node->name, tag) == 0;
}

// The following store the value of node; false if it has none.

template <typename Number> static bool storeNumber(const XmlpNode *node, Number *field)
{
    int32_t number;
    if (appmngr_getNodeInt(node, &number) != 0) {
        return false;
    }
    *field = static_cast<Number>(number);
    return true;
}

template <size_t size> static bool storeText(const XmlpNode *node, char (&field)[size])
{
    return appmngr_getNodeString(node, field, size) == 0;
}

// The text may fill the field and has no terminator then.
template <size_t size> static bool storeBytes(const XmlpNode *node, char (&field)[size])
{
    const char *text = appmngr_getNodeValue(node);
    if (text == nullptr) {
        return false;
    }
    memset(field, 0, size);
    memcpy(field, text, strnlen(text, size));
    return true;
}

int apppri_parseThroughXML(const char *prefix, const XmlpNode *node)
{
    static const char sortNum[] = "root.appSortDB.sortNum"; // the longest path
    for (node = skipEmpty(node); node != nullptr; node = skipEmpty(node->next)) {
        char path[128];
        snprintf(path, sizeof(path), "%s.%s", prefix, node->name);
        if (appmngr_strcasecmpSafe(path, sortNum) == 0) {
            if (!storeNumber(node, &apppri_db.sortNum)) {
                return APPPRI_FAIL(961, "apppri sort num not found!\r\n");
            }
        } else if (appmngr_strcasecmpSafe(path, "root.appSortDB.appNum") == 0) {
            if (!storeNumber(node, &apppri_db.appNum)) {
                return APPPRI_FAIL(979, "apppri app num not found!\r\n");
            }
        } else if (appmngr_strcasecmpSafe(path, "root.appSortDB.ver") == 0) {
            if (!storeBytes(node, apppri_db.ver)) {
                return APPPRI_FAIL(997, "apppri ver not found!\r\n");
            }
        }
        // Every level makes the path longer, so this also bounds the recursion.
        if (strlen(path) < sizeof(sortNum) - 1) {
            apppri_parseThroughXML(path, node->firstChild);
        }
    }
    return 0;
}

int apppri_db_parseAll(const XmlpNode *node)
{
    for (node = skipEmpty(node); node != nullptr; node = skipEmpty(node->next)) {
        if (!hasTag(node, "AppSortDB")) {
            return APPPRI_FAIL(910, "unknown tag:%s\r\n", node->name);
        }
        if (apppri_db_parseAppSortDB(node) != 0) {
            return APPPRI_FAIL(903, "apppri_db_parseAppSortDB FAILED\r\n");
        }
    }
    return 0;
}

int apppri_db_parseAppSortDB(const XmlpNode *node)
{
    for (node = firstChild(node); node != nullptr; node = skipEmpty(node->next)) {
        if (hasTag(node, "ver")) {
            if (!storeText(node, apppri_db.ver)) {
                return APPPRI_FAIL(801, "Get version value failed.\r\n");
            }
        } else if (hasTag(node, "proModel")) {
            if (!storeText(node, apppri_db.proModel)) {
                return APPPRI_FAIL(821, "Get pro model value failed.\r\n");
            }
        } else if (hasTag(node, "expired")) {
            if (!storeText(node, apppri_db.expired)) {
                return APPPRI_FAIL(846, "Get EXPIRED value failed.\r\n");
            }
            if (_apppri_strToExpiredTime(apppri_db.expiredTime, apppri_db.expired) != 0) {
                return APPPRI_FAIL(840, "_apppri_strToExpiredTime FAILED\r\n");
            }
        } else if (hasTag(node, "sortList")) {
            if (apppri_db_parseSortList(node) != 0) {
                return APPPRI_FAIL(854, "Proc forest FAILED\r\n");
            }
        } else if (!hasTag(node, "sortNum") && !hasTag(node, "appNum")) {
            return APPPRI_FAIL(861, "unknown tag:%s\r\n", node->name);
        }
    }
    return 0;
}

int apppri_db_parseSortList(const XmlpNode *node)
{
    uint32_t sortCount = 0;
    uint32_t appCounter = 0;
    for (node = firstChild(node); node != nullptr; node = skipEmpty(node->next)) {
        if (!hasTag(node, "sort")) {
            return APPPRI_FAIL(735, "unknown tag:%s\r\n", node->name);
        }
        if (apppri_db_parseSort(node, &appCounter) != 0) {
            return APPPRI_FAIL(728, "apppri_db_parseSort %u FAILED\r\n\r\n", sortCount);
        }
        sortCount++;
    }
    if (sortCount != static_cast<uint32_t>(apppri_db.sortNum)) {
        return APPPRI_FAIL(744, "apppri_db_sort count error [%u]!\r\n", sortCount);
    }
    if (appCounter != static_cast<uint32_t>(apppri_db.appNum)) {
        return APPPRI_FAIL(749, "apppri_db_app count error [%u]!\r\n", appCounter);
    }
    return 0;
}

// A sort is listed by its type alone.
int apppri_db_parseSort(const XmlpNode *node, uint32_t *appCounter)
{
    apppri_sort *sort = newRecord(&apppri_db.appSortList);
    if (sort == nullptr) {
        return -1;
    }
    int result = 0;
    for (node = firstChild(node); node != nullptr && result == 0; node = skipEmpty(node->next)) {
        if (hasTag(node, "id")) {
            if (!storeNumber(node, &sort->id)) {
                result = APPPRI_FAIL(613, "apppri sortId not found!\r\n");
            }
        } else if (hasTag(node, "name")) {
            if (!storeBytes(node, sort->name)) {
                result = APPPRI_FAIL(635, "apppri sortName not found!\r\n");
            }
        } else if (hasTag(node, "prio")) {
            if (!storeNumber(node, &sort->prio)) {
                result = APPPRI_FAIL(652, "apppri prio not found!\r\n");
            }
        } else if (hasTag(node, "type")) {
            if (storeNumber(node, &sort->type)) {
                append(apppri_db.appSortList, sort);
            } else {
                result = APPPRI_FAIL(669, "apppri sortType not found!\r\n");
            }
        } else if (hasTag(node, "appList")) {
            if (apppri_db_parseAppList(node, sort, appCounter) != 0) {
                result = APPPRI_FAIL(678, "apppri_db_parseAppList error!\r\n");
            }
        } else {
            result = APPPRI_FAIL(684, "unknown tag:%s\r\n", node->name);
        }
    }
    if (!isListed(sort)) {
        _apppri_freeSort(sort);
    }
    return result;
}

int apppri_db_parseAppList(const XmlpNode *node, apppri_sort *sort, uint32_t *appCounter)
{
    if (node == nullptr || sort == nullptr || appCounter == nullptr) {
        return APPPRI_FAIL(515, "apppri_db_parseAppList params error!\r\n");
    }
    for (node = firstChild(node); node != nullptr; node = skipEmpty(node->next)) {
        if (!hasTag(node, "app")) {
            return APPPRI_FAIL(536, "unknown tag:%s\r\n", node->name);
        }
        if (apppri_db_parseApp(node, sort) != 0) {
            return APPPRI_FAIL(529, "apppri_db_parseApp error.\r\n");
        }
        ++*appCounter;
    }
    return 0;
}

// An application is listed by its appName alone.
int apppri_db_parseApp(const XmlpNode *node, apppri_sort *sort)
{
    const bool hadList = sort->appList != nullptr;
    apppri_app *app = newRecord(&sort->appList);
    if (app == nullptr) {
        const bool hasNewList = !hadList && sort->appList != nullptr;
        return APPPRI_FAIL(hasNewList ? 412 : 395, "l_app_pool alloc error.\r\n");
    }
    int result = 0;
    for (node = firstChild(node); node != nullptr && result == 0; node = skipEmpty(node->next)) {
        if (hasTag(node, "appId")) {
            if (!storeNumber(node, &app->appId)) {
                result = APPPRI_FAIL(438, "apppri appId not found!\r\n");
            }
        } else if (hasTag(node, "appType")) {
            if (!storeNumber(node, &app->appType)) {
                result = APPPRI_FAIL(456, "apppri appType not found!\r\n");
            }
        } else if (hasTag(node, "appName")) {
            if (storeBytes(node, app->appName)) {
                append(sort->appList, app);
            } else {
                result = APPPRI_FAIL(478, "apppri appName not found!\r\n");
            }
        } else {
            result = APPPRI_FAIL(486, "unknown tag:%s\r\n", node->name);
        }
    }
    if (!isListed(app)) {
        free(app);
    }
    return result;
}

// A split gives at most three pieces and needs room for the null pointer after them.
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
        return APPPRI_FAIL(295, "ucm_string_makeSubStrByChar FAILED\r\n");
    }
    int32_t time[6] = {};
    if (splitNumbers(time, pieces[0], '-') != 0) {
        return APPPRI_FAIL(306, "ucm_string_makeSubStrByChar FAILED\r\n\r\n");
    }
    if (count == 2 && splitNumbers(time + 3, pieces[1], ':') != 0) {
        return APPPRI_FAIL(336, "ucm_string_makeSubStrByChar FAILED\r\n");
    }
    if (count > 2) {
        // Shows the address of the message instead of the count; kept on purpose.
        static const char message[] = "cnt = %d\r\n";
        return APPPRI_FAIL(347, message, static_cast<int>(reinterpret_cast<uintptr_t>(message)));
    }
    memcpy(out, time, sizeof(time));
    return 0;
}
