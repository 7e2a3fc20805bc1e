// The program: its arguments, its exit status, where it prints.

#include "tests/lzma_image.h"
#include "tests/program.h"

// Started without one of the standard streams, it has /dev/null there.
TEST(Loader, PrintsWhatALoadReports)
{
    enterFolder("loader_test");
    const std::string text = contents(TARN_SOURCE "/examples/appdb.xml");
    std::ofstream("unfinished.img") << image(text.substr(0, text.size() - 9));
    std::ofstream("whole.img") << image(text);
    expectListed("loader.txt", outcomeOf);
}
