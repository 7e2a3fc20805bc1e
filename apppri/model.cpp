// The model, its walks and its release, and the diagnostic lines of the module.

#include "apppri/apppri_internal.h"

#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static_assert(sizeof(void *) != 4 || sizeof(apppri_app) == 48, "on a 32-bit target");
static_assert(sizeof(void *) != 4 || sizeof(apppri_sort) == 56, "on a 32-bit target");
static_assert(sizeof(void *) != 4 || offsetof(apppri_database, xmlBuf) == 88, "on a 32-bit target");

apppri_database apppri_db;

// Returns the record after record, or null at the end of list.
template <typename Record> static Record *next(const Record *list, const Record *record)
{
    return record->next != list ? record->next : nullptr;
}

apppri_sort *apppri_firstSort(void)
{
    const apppri_sort *list = apppri_db.appSortList;
    return list != nullptr ? next(list, list) : nullptr;
}

apppri_sort *apppri_nextSort(const apppri_sort *sort)
{
    return next<apppri_sort>(apppri_db.appSortList, sort);
}

apppri_app *apppri_firstApp(const apppri_sort *sort)
{
    const apppri_app *list = sort->appList;
    return list != nullptr ? next(list, list) : nullptr;
}

apppri_app *apppri_nextApp(const apppri_sort *sort, const apppri_app *app)
{
    return next<apppri_app>(sort->appList, app);
}

void _apppri_freeSort(apppri_sort *sort)
{
    apppri_app *app = apppri_firstApp(sort);
    while (app != nullptr) {
        apppri_app *following = apppri_nextApp(sort, app);
        free(app);
        app = following;
    }
    free(sort->appList);
    free(sort);
}

int apppri_DBReInit(void)
{
    apppri_sort *sort = apppri_firstSort();
    while (sort != nullptr) {
        apppri_sort *following = apppri_nextSort(sort);
        _apppri_freeSort(sort);
        sort = following;
    }
    free(apppri_db.appSortList);
    memset(&apppri_db, 0, offsetof(apppri_database, xmlBuf));
    return 0;
}

void apppri_report(const char *function, int line, const char *format, ...)
{
    printf("[apppri_db_error](%s) %d: ", function, line);
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
}
