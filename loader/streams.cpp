// Standard input, output and error.

#include "loader/loader.h"

#include <fcntl.h>
#include <unistd.h>

int appmngr_openStandardStreams(void)
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; fd++) {
        // The lowest that is free is the one that is opened.
        if (fcntl(fd, F_GETFD) == -1 && open("/dev/null", O_RDWR) == -1) {
            return -1; // LCOV_EXCL_LINE: there is a /dev/null
        }
    }
    return 0;
}
