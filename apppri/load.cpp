// A load from the database file to the kernel, and its stages.

#include "apppri/apppri.h"

#include "apppri/diagnostic.h"

int apppri_readAppSortFromDB(void)
{
    int result = apppri_DBResAlloc();
    if (result != 0) {
        APPPRI_ERROR(1858, "DBResInit error.\r\n");
    } else if ((result = apppri_DBReInit()) != 0) {
        // unreachable: it has nothing that could fail (LCOV_EXCL_START)
        APPPRI_ERROR(1864, "apppri_DBReInit error.\r\n");
        // LCOV_EXCL_STOP
    } else if ((result = apppri_readDBFromFlash()) != 0) {
        APPPRI_ERROR(1870, "apppri_readDBFromFlash error.\r\n");
    } else if ((result = apppri_analyzeDBFile()) != 0) {
        APPPRI_ERROR(1876, "apppri_analyzeDBFile error.\r\n");
    }
    apppri_DBResFree();
    return result;
}

int apppri_database_init(void)
{
    apppri_DBReInit();
    if (apppri_readAppSortFromDB() != 0) {
        APPPRI_ERROR(2044, "apppri_readAppSortFromDB failed.\r\n");
        return -1;
    }
    if (apppri_sendMsgToKernel() != 0) {
        APPPRI_ERROR(2050, "apppri_sendMsgToKernel failed.\r\n");
        return -1;
    }
    return 0;
}
