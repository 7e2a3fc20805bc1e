// The load pipeline, and what a program does before it.

#include "loader/loader.h"

#include "appmngr/appmngr.h"

#include <fcntl.h>
#include <unistd.h>

int appmngr_openStandardStreams(void)
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; fd++) {
        // open() takes the lowest free descriptor.
        if (fcntl(fd, F_GETFD) == -1 && open("/dev/null", O_RDWR) == -1) {
            return -1; // LCOV_EXCL_LINE: there is a /dev/null
        }
    }
    return 0;
}

// The stages in order, up to the first that fails.
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
