// tarn-db-loader: loads an application database into the kernel's traffic classifier.

#include "loader/loader.h"

#include <malloc.h>
#include <stdio.h>

// Has each stage work in the memory that those before it freed, since a page that the kernel has
// to provide anew costs more than most of what is done with it. The process ends soon anyway.
static void keepFreedMemory()
{
#ifdef M_MMAP_MAX // not every C library can be told
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
#endif
}

int main(int argc, char **argv)
{
    if (appmngr_openStandardStreams() != 0) {
        return -1; // LCOV_EXCL_LINE: there is a /dev/null
    }
    if (argc != 2) {
        puts("usage: tarn-db-loader <DB_FILE>");
        return -1;
    }
    if (appmngr_checkDbPath(argv[1]) == -1) {
        fprintf(stderr, "invalid database path: %s\n", argv[1]);
        return -1;
    }
    keepFreedMemory();
    // A load that fails says so on standard output only; the status tells of the path alone.
    (void)appmngr_load_database();
    return 0;
}
