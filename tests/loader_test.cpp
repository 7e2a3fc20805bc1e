// The program: its arguments, its exit status, where it prints.

#include "tests/program.h"

namespace
{
const char *const usage = "usage: tarn-db-loader <DB_FILE>\n";

const ProgramCase cases[] = {
    {"", 255, usage, ""},
    {"a b", 255, usage, ""},
    {"none", 255, "", "invalid database path: none\n"},
    {".", 0,
     "[Error](_appmngr_readAppDb) 2167: Size of buffer \"204800\" is too small.\n"
     "[Error](_appmngr_readFromDatabase) 2569: _appmngr_readAppDb failed\n",
     ""},
    {"short 2>&1", 0,
     "[ERROR][_checkXml():452]: no xml tag found.\r\n"
     "[ERROR][_initLock():78]: doc is null.\r\n"
     "[Error](_appmngr_readFromDatabase) 2585: Analyze database failed\n",
     ""},
};

TEST(Loader, Program)
{
    enterFolder("loader_test");
    std::ofstream("short") << std::string(10, '\xFF');
    expectRuns(TARN_LOADER " ", cases);
}
} // namespace
