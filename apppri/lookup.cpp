// Applications by name and by id.

#include "apppri/apppri.h"

#include "apppri/list.h"

#include <string.h>

static int nameContains(const apppri_app *app, const char *needle)
{
    char name[APPPRI_NAME_SIZE + 1] = {};
    memcpy(name, app->appName, APPPRI_NAME_SIZE);
    return strstr(name, needle) != nullptr;
}

int32_t apppri_getAppIdByName(const char *needle)
{
    const apppri_sort *sorts = apppri_db.appSortList;
    for (const apppri_sort *sort = _apppri_first(sorts); sort != nullptr;
         sort = _apppri_next(sorts, sort)) {
        for (const apppri_app *app = _apppri_first(sort->appList); app != nullptr;
             app = _apppri_next(sort->appList, app)) {
            if (nameContains(app, needle)) {
                return static_cast<int32_t>(app->appId);
            }
        }
    }
    return -1;
}

apppri_sort *apppri_getAppNameById(uint32_t appId, char *out, uint32_t length)
{
    const apppri_sort *sorts = apppri_db.appSortList;
    for (apppri_sort *sort = _apppri_first(sorts); sort != nullptr;
         sort = _apppri_next(sorts, sort)) {
        for (const apppri_app *app = _apppri_first(sort->appList); app != nullptr;
             app = _apppri_next(sort->appList, app)) {
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
