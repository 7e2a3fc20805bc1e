// tarn-db-tool types - the application types of an image, with their applications.

#include "appmngr/appmngr.h"
#include "check/device.h"
#include "tool/commands.h"
#include "tool/file.h"
#include "tool/json.h"
#include "tool/record.h"

#include <string>

namespace tool
{

namespace
{

Json typesAsJson()
{
    Json types = Json::array();
    for (uint32_t i = 0; i < g_appmngr_appDb.typeCount; ++i) {
        const appmngr_appType &type = g_appmngr_appDb.type[i];
        types.push_back({{"id", type.id},
                         {"name", fieldText(type.name)},
                         {"applications", applicationsOf(type)}});
    }
    return {{"types", types}};
}

} // namespace

int types(const Arguments &arguments)
{
    check::loadApplicationTables(readFile(arguments.input));
    if (arguments.json) {
        printJson(typesAsJson());
    } else {
        appmngr_showAppTypes();
    }
    return 0;
}

} // namespace tool
