// tarn-db-tool priority - the priority database of a file.

#include "tool/commands.h"

#include "apppri/apppri.h"
#include "check/device.h"
#include "tool/file.h"
#include "tool/options.h"
#include "tool/record.h"

#include <nlohmann/json.hpp>
#include <string>

namespace tool
{

namespace
{

struct {
    std::string file;
    bool map = false;
    bool plain = false;
    bool json = false;
} arguments;

void declare(CLI::App &parser)
{
    addDatabase(parser, arguments.file);
    addFlag(parser, "--map", arguments.map,
            "Also list the map sent to the kernel, with lines APPID: PRIORITY");
    addListingForm(parser, arguments.json, arguments.plain);
}

int run()
{
    check::loadPriorityModel(readDatabaseFile(arguments.file));
    const Json map = arguments.map ? prioritiesAsJson(check::priorityMap()) : Json::array();
    if (arguments.json) {
        Json database = priorityDatabaseAsJson();
        if (arguments.map) {
            database["map"] = map;
        }
        printJson(database);
        return 0;
    }
    if (arguments.plain) {
        apppri_showDB();
    } else {
        writeStandardOutput(priorityDatabaseAsText());
    }
    for (const Json &entry : map) {
        writeStandardOutput(entry["appId"].dump() + ": " + entry["priority"].dump() + "\n");
    }
    return 0;
}

} // namespace

const Command priority = {"priority", "List the priority database", declare, run};

} // namespace tool
