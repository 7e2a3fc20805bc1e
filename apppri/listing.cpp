// The listing of the model.

#include "apppri/apppri.h"

#include "apppri/list.h"

#include <stdio.h>

void apppri_showDB(void)
{
    const apppri_sort *sorts = apppri_db.appSortList;
    for (const apppri_sort *sort = _apppri_first(sorts); sort != nullptr;
         sort = _apppri_next(sorts, sort)) {
        printf("sortId: %d, sortName: %-8.*s, priority: %d\r\n  appList:\r\n",
               static_cast<int>(sort->id), APPPRI_NAME_SIZE, sort->name,
               static_cast<int>(sort->prio));
        for (const apppri_app *app = _apppri_first(sort->appList); app != nullptr;
             app = _apppri_next(sort->appList, app)) {
            printf("      appId: %-4d, appName: %.*s\r\n", static_cast<int>(app->appId),
                   APPPRI_NAME_SIZE, app->appName);
        }
        puts("\r");
    }
}
