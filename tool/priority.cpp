// tarn-db-tool priority - the priority database of an image.

#include "tool/commands.h"

#include "apppri/apppri.h"
#include "check/device.h"
#include "tool/file.h"
#include "tool/options.h"
#include "tool/record.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

namespace tool
{

namespace
{

struct {
    std::string image;
    bool map = false;
    bool json = false;
} arguments;

void declare(CLI::App &parser)
{
    addImage(parser, arguments.image);
    addFlag(parser, "--map", arguments.map,
            "Also list the map sent to the kernel, with lines APPID: PRIORITY");
    addJson(parser, arguments.json);
}

Json sortAsJson(const apppri_sort &sort)
{
    Json apps = Json::array();
    for (const apppri_app *app = apppri_firstApp(&sort); app != nullptr;
         app = apppri_nextApp(&sort, app)) {
        apps.push_back({{"appId", app->appId},
                        {"appType", app->appType},
                        {"appName", fieldText(app->appName)}});
    }
    return {{"id", sort.id},
            {"type", sort.type},
            {"name", fieldText(sort.name)},
            {"prio", sort.prio},
            {"applications", apps}};
}

Json databaseAsJson()
{
    Json sorts = Json::array();
    for (const apppri_sort *sort = apppri_firstSort(); sort != nullptr;
         sort = apppri_nextSort(sort)) {
        sorts.push_back(sortAsJson(*sort));
    }
    Json database = {{"ver", fieldText(apppri_db.ver)},
                     {"proModel", fieldText(apppri_db.proModel)},
                     {"expired", fieldText(apppri_db.expired)},
                     {"sorts", sorts}};
    if (arguments.map) {
        database["map"] = prioritiesAsJson(check::priorityMap());
    }
    return database;
}

int run()
{
    check::loadPriorityModel(readImageFile(arguments.image));
    if (arguments.json) {
        printJson(databaseAsJson());
        return 0;
    }
    apppri_showDB();
    if (arguments.map) {
        for (const Json &entry : prioritiesAsJson(check::priorityMap())) {
            printf("%u: %u\n", entry["appId"].get<unsigned>(), entry["priority"].get<unsigned>());
        }
    }
    return 0;
}

} // namespace

const Command priority = {"priority", "List the priority database of an image", declare, run};

} // namespace tool
