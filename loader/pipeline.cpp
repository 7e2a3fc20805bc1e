// The load pipeline: its stages, in order.

#include "appmngr/appmngr.h"
#include "loader/loader.h"

// The stages of a load, in order, up to the first that fails.
static int _appmngr_readFromDatabase()
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
