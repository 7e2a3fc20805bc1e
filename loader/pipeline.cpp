// The load pipeline: its stages, in order.

#include "appmngr/appmngr.h"
#include "appmngr/appmngr_internal.h"
#include "loader/diagnostic.h"
#include "loader/image.h"
#include "loader/loader.h"
#include "loader/loader_internal.h"

#include <string.h>

int appmngr_dbReInit(void)
{
    appmngr_appdb_free();
    appmngr_appdesc_free();
    memset(g_appmngr_typeIds, 0, sizeof(g_appmngr_typeIds));
    memset(&g_appmngr_count, 0, sizeof(g_appmngr_count));
    return 0;
}

int _appmngr_readFromDatabase(void)
{
    if (appmngr_file_alloc() != 0) {
        APPMNGR_ERROR(2563, "appmngr_file_alloc failed\n");
        return -1;
    }
    int status = -1;
    if (_appmngr_readAppDb() != 0) {
        APPMNGR_ERROR(2569, "_appmngr_readAppDb failed\n");
    } else if (appmngr_analyzeDbFile() != 0) {
        APPMNGR_ERROR(2585, "Analyze database failed\n");
    } else if (_appmngr_sendMsgToKernel() != 0) {
        APPMNGR_ERROR(2601, "send msg to kernel failed\n");
    } else {
        status = 0;
    }
    appmngr_file_free();
    return status;
}

int appmngr_load_database(void)
{
    if (appmngr_dbReInit() != 0) {
        // unreachable: it has nothing that could fail (LCOV_EXCL_START)
        APPMNGR_ERROR(2621, "appmngr_dbReInit failed\n");
        return -1;
        // LCOV_EXCL_STOP
    }
    return _appmngr_readFromDatabase();
}
