// The model and its release.

#include "apppri/apppri_internal.h"

#include "apppri/list.h"

#include <stdlib.h>
#include <string.h>

static_assert(sizeof(void *) != 4 || sizeof(apppri_app) == 48, "on a 32-bit target");
static_assert(sizeof(void *) != 4 || sizeof(apppri_sort) == 56, "on a 32-bit target");
static_assert(sizeof(void *) != 4 || offsetof(apppri_database, xmlBuf) == 88, "on a 32-bit target");

apppri_database apppri_db;

static void freeApps(apppri_app *list)
{
    apppri_app *app = _apppri_first(list);
    while (app != nullptr) {
        apppri_app *next = _apppri_next(list, app);
        free(app);
        app = next;
    }
    free(list);
}

void _apppri_freeSort(apppri_sort *sort)
{
    freeApps(sort->appList);
    free(sort);
}

int apppri_DBReInit(void)
{
    apppri_sort *sort = _apppri_first(apppri_db.appSortList);
    while (sort != nullptr) {
        apppri_sort *next = _apppri_next(apppri_db.appSortList, sort);
        _apppri_freeSort(sort);
        sort = next;
    }
    free(apppri_db.appSortList);
    memset(&apppri_db, 0, offsetof(apppri_database, xmlBuf));
    return 0;
}
