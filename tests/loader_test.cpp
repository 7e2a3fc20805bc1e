// The program: its arguments, its exit status, where it prints.

#include "tests/program.h"

#define NO_IMAGE                                                                  \
    "[Error](_appmngr_readAppDb) 2167: Size of buffer \"204800\" is too small.\n" \
    "[Error](_appmngr_readFromDatabase) 2569: _appmngr_readAppDb failed\n"

static const ProgramCase cases[] = {
    {"", 255, "usage: tarn-db-loader <DB_FILE>\n"},
    {"none", 255, "", "invalid database path: none\n"},
    {"/dev/null", 0, NO_IMAGE},
    // Started without one of the standard streams, it has /dev/null there.
    {"/proc/self/fd/0 <&-", 0, NO_IMAGE},
    {"/proc/self/fd/1 >&-", 0},
    {"/proc/self/fd/2 2>&-", 0, NO_IMAGE},
};

TEST(Loader, Program)
{
    enterFolder("loader_test");
    expectRuns("tarn-db-loader ", cases);
}
