// Loads the database of an image again and again: repeat_load application|priority LOADS OUTPUTS
// IMAGE. Ends after so many loads, but not before they had so many different outputs, and prints
// these. The exit status is 1 when a load left memory or a descriptor behind.

#include "apppri/apppri.h"
#include "loader/image.h"
#include "loader/loader.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <set>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace
{

// Bytes of memory in use, and the lowest descriptor that is free.
std::pair<size_t, int> resources()
{
    const struct mallinfo2 memory = mallinfo2();
    const int lowest = dup(STDIN_FILENO);
    close(lowest);
    return {memory.uordblks + memory.hblkhd, lowest};
}

// What is printed goes to the file; this takes it out of there.
const char *take_output(int file)
{
    static char output[4096];
    const ssize_t length = pread(file, output, sizeof output - 1, 0);
    output[length > 0 ? length : 0] = '\0';
    return ftruncate(file, 0) == 0 && lseek(file, 0, SEEK_SET) == 0 ? output : "output lost\n";
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 5) {
        return 2;
    }
    while (appmngr_checkDbPath(argv[4]) != 0) { // it may come and go
    }
    const bool application = std::strcmp(argv[1], "application") == 0;
    const auto load = application ? appmngr_load_database : apppri_database_init;
    const auto release = application ? appmngr_dbReInit : apppri_DBReInit;
    const size_t loads = std::strtoul(argv[2], nullptr, 10);
    const size_t outputs = std::strtoul(argv[3], nullptr, 10);

    const int printed = dup(STDOUT_FILENO);
    const int output = memfd_create("output", 0);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::set<std::string> met;
    int status = 0;
    for (size_t done = 0; done < loads || met.size() < outputs; ++done) {
        const auto before = resources();
        load();
        const char *text = take_output(output);
        release();
        if (resources() != before) {
            status = 1;
        }
        met.insert(text);
        take_output(output);
    }
    dup2(printed, STDOUT_FILENO);
    for (const std::string &text : met) {
        std::printf("--\n%s", text.c_str());
    }
    return status;
}
