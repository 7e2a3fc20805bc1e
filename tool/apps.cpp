// tarn-db-tool apps - the applications of an image.

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

Json appsAsJson()
{
    Json apps = Json::array();
    for (uint32_t i = 0; i < g_appmngr_appDb.appCount; ++i) {
        const appmngr_app &app = g_appmngr_app[i];
        apps.push_back({{"id", app.id}, {"visible", app.visible}, {"name", fieldText(app.name)}});
    }
    return {{"applications", apps}};
}

} // namespace

int apps(const Arguments &arguments)
{
    check::loadApplicationTables(readFile(arguments.input));
    if (arguments.json) {
        printJson(appsAsJson());
    } else {
        appmngr_showApps();
    }
    return 0;
}

} // namespace tool
