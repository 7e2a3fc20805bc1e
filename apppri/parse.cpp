// From the elements of the document to the model.

#include "apppri/apppri_internal.h"

#include "apppri/diagnostic.h"
#include "apppri/list.h"

#include <stdlib.h>

namespace
{

// What the children of an element may be.
struct Vocabulary {
    const char *function; // named in the messages
    int unknownLine;      // reports any other child
    const apppri_step *steps;
};

} // namespace

// Reads node and its later siblings.
static int readSiblings(const XmlpNode *node, const Vocabulary *vocabulary, apppri_target *target)
{
    for (; node != nullptr; node = node->next) {
        if (node->type == XMLP_NODE_NONE) {
            continue;
        }
        const int taken =
            _apppri_takeSteps(vocabulary->function, vocabulary->steps, node->name, node, target);
        if (taken < 0) {
            return -1;
        }
        if (taken == 0) {
            _apppri_report(vocabulary->function, vocabulary->unknownLine, "unknown tag:%s\r\n",
                           node->name);
            return -1;
        }
    }
    return 0;
}

static int readChildren(const XmlpNode *node, const Vocabulary *vocabulary, apppri_target *target)
{
    return readSiblings(xmlp_getChildNode(node, 0), vocabulary, target);
}

// ---- Steps with more to do than store a value ------------------------------------------

static int takeAppSortDB(const XmlpNode *node, apppri_target *, const apppri_step *)
{
    return apppri_db_parseAppSortDB(node);
}

static int takeExpiredTime(const XmlpNode *, apppri_target *, const apppri_step *)
{
    return _apppri_strToExpiredTime(apppri_db.expiredTime, apppri_db.expired);
}

static int takeSortList(const XmlpNode *node, apppri_target *, const apppri_step *)
{
    return apppri_db_parseSortList(node);
}

static int takeNothing(const XmlpNode *, apppri_target *, const apppri_step *)
{
    return 0;
}

static int takeSort(const XmlpNode *node, apppri_target *target, const apppri_step *)
{
    if (apppri_db_parseSort(node, target->appCounter) != 0) {
        return -1;
    }
    ++target->sortCount;
    return 0;
}

static int listSort(const XmlpNode *, apppri_target *target, const apppri_step *)
{
    _apppri_append(apppri_db.appSortList, target->sort);
    return 0;
}

static int takeAppList(const XmlpNode *node, apppri_target *target, const apppri_step *)
{
    return apppri_db_parseAppList(node, target->sort, target->appCounter);
}

static int takeApp(const XmlpNode *node, apppri_target *target, const apppri_step *)
{
    if (apppri_db_parseApp(node, target->sort) != 0) {
        return -1;
    }
    ++*target->appCounter;
    return 0;
}

static int listApp(const XmlpNode *, apppri_target *target, const apppri_step *)
{
    _apppri_append(target->sort->appList, static_cast<apppri_app *>(target->record));
    return 0;
}

// ---- The vocabulary, from the top down -------------------------------------------------

static const apppri_step topSteps[] = {
    {"AppSortDB", takeAppSortDB, 0, 0, 903, "apppri_db_parseAppSortDB FAILED\r\n"},
    {},
};

static const apppri_step appSortDBSteps[] = {
    {"ver", _apppri_takeText, offsetof(apppri_database, ver), sizeof apppri_db.ver, 801,
     "Get version value failed.\r\n"},
    {"proModel", _apppri_takeText, offsetof(apppri_database, proModel), sizeof apppri_db.proModel,
     821, "Get pro model value failed.\r\n"},
    {"expired", _apppri_takeText, offsetof(apppri_database, expired), sizeof apppri_db.expired, 846,
     "Get EXPIRED value failed.\r\n"},
    {"expired", takeExpiredTime, 0, 0, 840, "_apppri_strToExpiredTime FAILED\r\n"},
    {"sortList", takeSortList, 0, 0, 854, "Proc forest FAILED\r\n"},
    {"sortNum", takeNothing, 0, 0, 0, nullptr},
    {"appNum", takeNothing, 0, 0, 0, nullptr},
    {},
};

static const apppri_step sortListSteps[] = {
    {"sort", takeSort, 0, 0, 728, "apppri_db_parseSort %d FAILED\r\n\r\n"},
    {},
};

// A sort is listed by its type alone.
static const apppri_step sortSteps[] = {
    {"id", _apppri_takeNumber, offsetof(apppri_sort, id), 0, 613, "apppri sortId not found!\r\n"},
    {"name", _apppri_takeBytes, offsetof(apppri_sort, name), APPPRI_NAME_SIZE, 635,
     "apppri sortName not found!\r\n"},
    {"prio", _apppri_takeNumber, offsetof(apppri_sort, prio), 0, 652, "apppri prio not found!\r\n"},
    {"type", _apppri_takeNumber, offsetof(apppri_sort, type), 0, 669,
     "apppri sortType not found!\r\n"},
    {"type", listSort, 0, 0, 0, nullptr},
    {"appList", takeAppList, 0, 0, 678, "apppri_db_parseAppList error!\r\n"},
    {},
};

static const apppri_step appListSteps[] = {
    {"app", takeApp, 0, 0, 529, "apppri_db_parseApp error.\r\n"},
    {},
};

// An application is listed by its appName alone.
static const apppri_step appSteps[] = {
    {"appId", _apppri_takeNumber, offsetof(apppri_app, appId), 0, 438,
     "apppri appId not found!\r\n"},
    {"appType", _apppri_takeNumber, offsetof(apppri_app, appType), 0, 456,
     "apppri appType not found!\r\n"},
    {"appName", _apppri_takeBytes, offsetof(apppri_app, appName), APPPRI_NAME_SIZE, 478,
     "apppri appName not found!\r\n"},
    {"appName", listApp, 0, 0, 0, nullptr},
    {},
};

static const Vocabulary topElement = {"apppri_db_parseAll", 910, topSteps};
static const Vocabulary appSortDBElement = {"apppri_db_parseAppSortDB", 861, appSortDBSteps};
static const Vocabulary sortListElement = {"apppri_db_parseSortList", 735, sortListSteps};
static const Vocabulary sortElement = {"apppri_db_parseSort", 684, sortSteps};
static const Vocabulary appListElement = {"apppri_db_parseAppList", 536, appListSteps};
static const Vocabulary appElement = {"apppri_db_parseApp", 486, appSteps};

// ---- The walkers -----------------------------------------------------------------------

int apppri_db_parseAll(const XmlpNode *node)
{
    apppri_target target = {nullptr, nullptr, nullptr, 0};
    return readSiblings(node, &topElement, &target);
}

int apppri_db_parseAppSortDB(const XmlpNode *node)
{
    apppri_target target = {&apppri_db, nullptr, nullptr, 0};
    return readChildren(node, &appSortDBElement, &target);
}

int apppri_db_parseSortList(const XmlpNode *node)
{
    uint32_t appCounter = 0;
    apppri_target target = {nullptr, nullptr, &appCounter, 0};
    if (readChildren(node, &sortListElement, &target) != 0) {
        return -1;
    }
    if (target.sortCount != static_cast<uint32_t>(apppri_db.sortNum)) {
        APPPRI_ERROR(744, "apppri_db_sort count error [%d]!\r\n",
                     static_cast<int>(target.sortCount));
        return -1;
    }
    if (appCounter != static_cast<uint32_t>(apppri_db.appNum)) {
        APPPRI_ERROR(749, "apppri_db_app count error [%d]!\r\n", static_cast<int>(appCounter));
        return -1;
    }
    return 0;
}

// Returns a zeroed sort, after the sentinel when there is none yet; or null.
static apppri_sort *newSort(void)
{
    apppri_sort *sort = static_cast<apppri_sort *>(calloc(1, sizeof *sort));
    if (sort == nullptr || apppri_db.appSortList != nullptr) {
        return sort;
    }
    apppri_db.appSortList = _apppri_startList(sort);
    return static_cast<apppri_sort *>(calloc(1, sizeof *sort));
}

int apppri_db_parseSort(const XmlpNode *node, uint32_t *appCounter)
{
    apppri_sort *sort = newSort();
    if (sort == nullptr) {
        return -1;
    }
    apppri_target target = {sort, sort, appCounter, 0};
    const int result = readChildren(node, &sortElement, &target);
    if (!_apppri_isListed(sort)) {
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
    apppri_target target = {nullptr, sort, appCounter, 0};
    return readChildren(node, &appListElement, &target);
}

int apppri_db_parseApp(const XmlpNode *node, apppri_sort *sort)
{
    apppri_app *app = static_cast<apppri_app *>(calloc(1, sizeof *app));
    if (app == nullptr) {
        APPPRI_ERROR(395, "l_app_pool alloc error.\r\n");
        return -1;
    }
    if (sort->appList == nullptr) {
        sort->appList = _apppri_startList(app);
        app = static_cast<apppri_app *>(calloc(1, sizeof *app));
        if (app == nullptr) {
            APPPRI_ERROR(412, "l_app_pool alloc error.\r\n");
            return -1;
        }
    }
    apppri_target target = {app, sort, nullptr, 0};
    const int result = readChildren(node, &appElement, &target);
    if (!_apppri_isListed(app)) {
        free(app);
    }
    return result;
}
