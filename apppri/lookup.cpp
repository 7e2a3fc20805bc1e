// What is read from the model: lookups, the listing, the priority map.

#include "apppri/apppri.h"

#include <stdio.h>
#include <string.h>

static bool nameContains(const apppri_app *app, const char *needle)
{
    char name[APPPRI_NAME_SIZE + 1] = {};
    memcpy(name, app->appName, APPPRI_NAME_SIZE);
    return strstr(name, needle) != nullptr;
}

int32_t apppri_getAppIdByName(const char *needle)
{
    for (auto *sort = apppri_firstSort(); sort != nullptr; sort = apppri_nextSort(sort)) {
        for (auto *app = apppri_firstApp(sort); app != nullptr; app = apppri_nextApp(sort, app)) {
            if (nameContains(app, needle)) {
                return static_cast<int32_t>(app->appId);
            }
        }
    }
    return -1;
}

apppri_sort *apppri_getAppNameById(uint32_t appId, char *out, uint32_t length)
{
    for (auto *sort = apppri_firstSort(); sort != nullptr; sort = apppri_nextSort(sort)) {
        for (auto *app = apppri_firstApp(sort); app != nullptr; app = apppri_nextApp(sort, app)) {
            if (app->appId == appId) {
                const uint32_t room = length < APPPRI_NAME_SIZE ? length : APPPRI_NAME_SIZE;
                memset(out, 0, length);
                memcpy(out, app->appName, strnlen(app->appName, room));
                return sort;
            }
        }
    }
    return nullptr;
}

void apppri_showDB(void)
{
    for (auto *sort = apppri_firstSort(); sort != nullptr; sort = apppri_nextSort(sort)) {
        printf("sortId: %d, sortName: %-8.*s, priority: %d\r\n  appList:\r\n",
               static_cast<int>(sort->id), APPPRI_NAME_SIZE, sort->name,
               static_cast<int>(sort->prio));
        for (auto *app = apppri_firstApp(sort); app != nullptr; app = apppri_nextApp(sort, app)) {
            printf("      appId: %-4d, appName: %.*s\r\n", static_cast<int>(app->appId),
                   APPPRI_NAME_SIZE, app->appName);
        }
        puts("\r");
    }
}

static void setPriority(void *map, const apppri_sort *sort, uint32_t prio)
{
    auto *bytes = static_cast<unsigned char *>(map);
    for (auto *app = apppri_firstApp(sort); app != nullptr; app = apppri_nextApp(sort, app)) {
        if (app->appId < g_apppri_profile.mapSize) {
            bytes[app->appId] = static_cast<unsigned char>(prio);
        }
    }
}

int8_t apppri_initPrimapFromDB(void *map)
{
    if (apppri_db.appSortList == nullptr) {
        return APPPRI_FAIL(1381, "appSortList NULL.\r\n");
    }
    for (auto *sort = apppri_firstSort(); sort != nullptr; sort = apppri_nextSort(sort)) {
        setPriority(map, sort, sort->prio);
    }
    return 0;
}

int apppri_initPrimapWithSort(void *map, uint32_t sortId, int32_t prio)
{
    if (apppri_db.appSortList == nullptr) {
        return APPPRI_FAIL(1421, "appSortList NULL.\r\n");
    }
    for (auto *sort = apppri_firstSort(); sort != nullptr; sort = apppri_nextSort(sort)) {
        if (sort->id == sortId && sort->appList != nullptr) {
            setPriority(map, sort, static_cast<uint32_t>(prio));
            break;
        }
    }
    return 0;
}
