// tarn-db-tool apps - the applications of an image.

#include "appmngr/appmngr.h"
#include "tool/command.h"
#include "tool/file.h"
#include "tool/json.h"
#include "tool/record.h"
#include "tool/tables.h"

#include <memory>
#include <string>

namespace tool
{

namespace
{

struct AppsOptions {
    std::string image;
    bool json = false;
};

Json appsAsJson()
{
    Json apps = Json::array();
    for (uint32_t i = 0; i < g_appmngr_appDb.appCount; ++i) {
        const appmngr_app &app = g_appmngr_app[i];
        apps.push_back({{"id", app.id}, {"visible", app.visible}, {"name", fieldText(app.name)}});
    }
    return {{"applications", apps}};
}

int apps(const AppsOptions &options)
{
    loadApplicationTables(readFile(options.image));
    if (options.json) {
        printJson(appsAsJson());
    } else {
        appmngr_showApps();
    }
    return 0;
}

} // namespace

Action setupApps(CLI::App &arguments)
{
    const auto options = std::make_shared<AppsOptions>();
    arguments.add_option("IMAGE", options->image, "Image file, - for standard input")->required();
    addJsonFlag(arguments, options->json);
    return [options] { return apps(*options); };
}

} // namespace tool
