// When the database was built, and its build number.

#include "appmngr/appmngr.h"

#include <stdio.h>

uint32_t g_appmngr_dbYear = 0;
uint32_t g_appmngr_dbMonth = 0;
uint32_t g_appmngr_dbDay = 0;
uint32_t g_appmngr_dbHour = 0;
uint32_t g_appmngr_dbMinute = 0;
uint32_t g_appmngr_dbSecond = 0;
uint32_t g_appmngr_dbBuild = 0;

int appmngr_getDbVersionString(char *out)
{
    if (out == nullptr) {
        return -1;
    }
    snprintf(out, APPMNGR_VERSION_STRING_SIZE, "%d#%04d-%02d-%02d %02d:%02d:%02d",
             static_cast<int>(g_appmngr_dbBuild), static_cast<int>(g_appmngr_dbYear),
             static_cast<int>(g_appmngr_dbMonth), static_cast<int>(g_appmngr_dbDay),
             static_cast<int>(g_appmngr_dbHour), static_cast<int>(g_appmngr_dbMinute),
             static_cast<int>(g_appmngr_dbSecond));
    return 0;
}

uint32_t appmngr_getDbBuild(void)
{
    return g_appmngr_dbBuild;
}
