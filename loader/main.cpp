// tarn-db-loader: loads an application database into the kernel's traffic classifier.

#include "loader/image.h"
#include "loader/loader.h"

#include <stdio.h>
#include <stdlib.h>

[[noreturn]] static void usage()
{
    puts("usage: tarn-db-loader <DB_FILE>");
    exit(-1);
}

int main(int argc, char **argv)
{
    if (argc != 2) {
        usage();
    }
    if (appmngr_checkDbPath(argv[1]) == -1) {
        fprintf(stderr, "invalid database path: %s\n", argv[1]);
        return -1;
    }
    // A load that fails says so on standard output only; the status tells of the path alone.
    (void)appmngr_load_database();
    return 0;
}
