// tarn-db-loader: loads an application database into the kernel's traffic classifier.

#include "loader/loader.h"

#include <malloc.h>
#include <stdio.h>

// Lets each stage reuse the memory that earlier ones freed: a fresh page from the kernel costs more
// than most of what is done with it.
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
    // A failed load is reported on standard output only; the status covers the path alone.
    (void)appmngr_load_database();
    return 0;
}
