// Loads the database of an image again and again: repeat_load application|priority LOADS OUTPUTS
// IMAGE. Ends after so many loads, but not before they had so many different outputs, and prints
// these. The exit status is 1 when a load left memory or a descriptor behind.

#include "apppri/apppri.h"
#include "loader/loader.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <set>
#include <string>
#include <unistd.h>
#include <utility>

// Bytes of memory in use, and the lowest descriptor that is free.
static std::pair<size_t, int> resources()
{
    const struct mallinfo2 memory = mallinfo2();
    const int lowest = dup(STDIN_FILENO);
    close(lowest);
    return {memory.uordblks + memory.hblkhd, lowest};
}

int main(int, char **argv)
{
    while (appmngr_checkDbPath(argv[4]) != 0) { // it may come and go
    }
    const bool application = std::strcmp(argv[1], "application") == 0;
    const auto load = application ? appmngr_load_database : apppri_database_init;
    const auto release = application ? appmngr_dbReInit : apppri_DBReInit;
    const size_t loads = std::strtoul(argv[2], nullptr, 10);
    const size_t outputs = std::strtoul(argv[3], nullptr, 10);

    static char text[4096]; // that is printed
    FILE *const results = stdout;
    stdout = stderr = fmemopen(text, sizeof(text), "w");
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::set<std::string> met;
    int status = 0;
    for (size_t done = 0; done < loads || met.size() < outputs; done++) {
        std::rewind(stdout);
        std::memset(text, 0, sizeof(text));
        const auto before = resources();
        load();
        const size_t length = std::strlen(text);
        release();
        status |= resources() != before;
        met.emplace(text, length);
    }
    for (const std::string &output : met) {
        std::fprintf(results, "--\n%s", output.c_str());
    }
    return status;
}
