// The priority map: a byte for each application id.

#include "apppri/apppri.h"

#include "apppri/diagnostic.h"
#include "apppri/list.h"

static void setPriority(void *map, const apppri_app *apps, uint32_t prio)
{
    auto *bytes = static_cast<unsigned char *>(map);
    for (const apppri_app *app = _apppri_first(apps); app != nullptr;
         app = _apppri_next(apps, app)) {
        if (app->appId < g_apppri_profile.mapSize) {
            bytes[app->appId] = static_cast<unsigned char>(prio);
        }
    }
}

int8_t apppri_initPrimapFromDB(void *map)
{
    const apppri_sort *sorts = apppri_db.appSortList;
    if (sorts == nullptr) {
        APPPRI_ERROR(1381, "appSortList NULL.\r\n");
        return -1;
    }
    for (const apppri_sort *sort = _apppri_first(sorts); sort != nullptr;
         sort = _apppri_next(sorts, sort)) {
        setPriority(map, sort->appList, sort->prio);
    }
    return 0;
}

int apppri_initPrimapWithSort(void *map, uint32_t sortId, int32_t prio)
{
    const apppri_sort *sorts = apppri_db.appSortList;
    if (sorts == nullptr) {
        APPPRI_ERROR(1421, "appSortList NULL.\r\n");
        return -1;
    }
    for (const apppri_sort *sort = _apppri_first(sorts); sort != nullptr;
         sort = _apppri_next(sorts, sort)) {
        if (sort->id == sortId && sort->appList != nullptr) {
            setPriority(map, sort->appList, static_cast<uint32_t>(prio));
            break;
        }
    }
    return 0;
}
