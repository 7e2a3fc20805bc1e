// Lists the priority database of an image.

#include "apppri/apppri.h"
#include "tool/command.h"
#include "tool/diagnostics.h"
#include "tool/failure.h"
#include "tool/file.h"
#include "tool/image.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace tool
{

namespace
{

struct PriorityOptions {
    std::string image;
    bool map = false;
};

// Fills the model as a device does, but for the upload.
bool fillModel(const std::string &text)
{
    const DiagnosticsOnStandardError redirection;
    apppri_DBReInit();
    bool filled = false;
    if (apppri_DBResAlloc() == 0) {
        memcpy(apppri_db.xmlBuf, text.c_str(), text.size() + 1);
        filled = apppri_analyzeDBFile() == 0;
    }
    apppri_DBResFree();
    return filled;
}

void printMap()
{
    std::vector<unsigned char> map(g_apppri_profile.mapSize);
    apppri_initPrimapFromDB(map.data());
    for (size_t appId = 0; appId < map.size(); ++appId) {
        if (map[appId] != 0) {
            printf("%zu: %u\n", appId, unsigned{map[appId]});
        }
    }
}

int priority(const PriorityOptions &options)
{
    const InputFile image = readFile(options.image);
    if (!fillModel(unpackDatabase(image, priorityDatabase))) {
        throw Failure(image.name, "the priority database cannot be loaded");
    }
    if (apppri_db.appSortList == nullptr) {
        throw Failure(image.name, "the priority database has no sorts");
    }
    apppri_showDB();
    if (options.map) {
        printMap();
    }
    return 0;
}

} // namespace

Action setupPriority(CLI::App &arguments)
{
    const auto options = std::make_shared<PriorityOptions>();
    arguments.add_option("IMAGE", options->image, "Image file, - for standard input")->required();
    arguments.add_flag(
        "--map", options->map,
        "Also the map that goes to the kernel: APPID: PRIORITY for each that has one");
    return [options] { return priority(*options); };
}

} // namespace tool
