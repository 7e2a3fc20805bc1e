// Lists the priority database of an image.

#include "apppri/apppri.h"
#include "check/device.h"
#include "tool/commands.h"
#include "tool/file.h"
#include "tool/json.h"
#include "tool/record.h"

#include <cstdio>
#include <string>
#include <vector>

namespace tool
{

namespace
{

void printMap()
{
    const std::vector<unsigned char> map = check::priorityMap();
    for (size_t appId = 0; appId < map.size(); ++appId) {
        if (map[appId] != 0) {
            printf("%zu: %u\n", appId, unsigned{map[appId]});
        }
    }
}

Json mapAsJson()
{
    Json entries = Json::array();
    const std::vector<unsigned char> map = check::priorityMap();
    for (size_t appId = 0; appId < map.size(); ++appId) {
        if (map[appId] != 0) {
            entries.push_back({{"appId", appId}, {"priority", map[appId]}});
        }
    }
    return entries;
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

Json databaseAsJson(bool withMap)
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
    if (withMap) {
        database["map"] = mapAsJson();
    }
    return database;
}

} // namespace

int priority(const Arguments &arguments)
{
    check::loadPriorityModel(readFile(arguments.input));
    if (arguments.json) {
        printJson(databaseAsJson(arguments.map));
        return 0;
    }
    apppri_showDB();
    if (arguments.map) {
        printMap();
    }
    return 0;
}

} // namespace tool
