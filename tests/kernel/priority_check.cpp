// Loads the priority database of an image file into the kernel: priority_check IMAGE. The exit
// status is that of apppri_database_init.

#include "apppri/apppri.h"
#include "loader/image.h"

int main(int argc, char **argv)
{
    if (argc != 2 || appmngr_checkDbPath(argv[1]) != 0) {
        return 2;
    }
    return apppri_database_init();
}
