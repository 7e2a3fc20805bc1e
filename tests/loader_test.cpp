// The program: its arguments, its exit status, where it prints.

#include "tests/lzma_image.h"
#include "tests/program.h"

#define NO_IMAGE                                                                  \
    "[Error](_appmngr_readAppDb) 2167: Size of buffer \"204800\" is too small.\n" \
    "[Error](_appmngr_readFromDatabase) 2569: _appmngr_readAppDb failed\n"

const std::vector<ProgramCase> cases = {
    {"", 255, "usage: tarn-db-loader <DB_FILE>\n"},
    {"one two", 255, "usage: tarn-db-loader <DB_FILE>\n"},
    {"none", 255, "", "invalid database path: none\n"},
    {"/dev/null", 0, NO_IMAGE},
    // Started without one of the standard streams, it has /dev/null there.
    {"/proc/self/fd/0 <&-", 0, NO_IMAGE},
    {"/proc/self/fd/1 >&-", 0},
    {"/proc/self/fd/2 2>&-", 0, NO_IMAGE},
    {"unfinished.img", 0,
     "[ERROR][_subXml():374]: error xml tag.\r\n[ERROR][_checkXml():441]: error xml tag.\r\n"
     "[ERROR][_initLock():78]: doc is null.\r\n"
     "[Error](_appmngr_readFromDatabase) 2585: Analyze database failed\n"},
    {"whole.img", 0, "..."}, // the kernel's answer
};

TEST(Loader, PrintsWhatALoadReports)
{
    enterFolder("loader_test");
    const std::string text = contents(TARN_SOURCE "/examples/appdb.xml");
    std::ofstream("unfinished.img") << image(text.substr(0, text.size() - 9));
    std::ofstream("whole.img") << image(text);
    expectRuns("tarn-db-loader", cases);
}
