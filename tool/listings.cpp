// tarn-db-tool show, apps, types and rules - what is in the application database of an image.

#include "tool/commands.h"

#include "appmngr/appmngr.h"
#include "check/device.h"
#include "tool/file.h"
#include "tool/options.h"
#include "tool/record.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

namespace tool
{

namespace
{

struct {
    std::string image;
    uint32_t appId = 0;
    bool json = false;
} arguments;

void declareImage(CLI::App &parser)
{
    addImage(parser, arguments.image);
}

void declareListing(CLI::App &parser)
{
    addImage(parser, arguments.image);
    addJson(parser, arguments.json);
}

void declareRules(CLI::App &parser)
{
    addImage(parser, arguments.image);
    addAppId(parser, arguments.appId);
    addJson(parser, arguments.json);
}

int runShow()
{
    check::loadApplicationTables(readImageFile(arguments.image));
    appmngr_showDb();
    return 0;
}

int list(void (*show)(), Json (*asJson)())
{
    check::loadApplicationTables(readImageFile(arguments.image));
    if (arguments.json) {
        printJson(asJson());
    } else {
        show();
    }
    return 0;
}

Json appsAsJson()
{
    Json apps = Json::array();
    for (uint32_t i = 0; i < g_appmngr_appDb.appCount; i++) {
        const appmngr_app &app = g_appmngr_app[i];
        apps.push_back({{"id", app.id}, {"visible", app.visible}, {"name", fieldText(app.name)}});
    }
    return {{"applications", apps}};
}

int runApps()
{
    return list(appmngr_showApps, appsAsJson);
}

Json typesAsJson()
{
    Json types = Json::array();
    for (uint32_t i = 0; i < g_appmngr_appDb.typeCount; i++) {
        const appmngr_appType &type = g_appmngr_appDb.type[i];
        types.push_back({{"id", type.id},
                         {"name", fieldText(type.name)},
                         {"applications", applicationsOf(type)}});
    }
    return {{"types", types}};
}

int runTypes()
{
    return list(appmngr_showAppTypes, typesAsJson);
}

Json rulesAsJson(const appmngr_app &app)
{
    Json rules = Json::array();
    for (uint32_t i = 0; i < g_appmngr_appDb.ruleCount; i++) {
        if (g_appmngr_appDb.rule[i].appId == app.id) {
            rules.push_back(toJson(g_appmngr_appDb.rule[i]));
        }
    }
    return {{"id", app.id}, {"name", fieldText(app.name)}, {"rules", rules}};
}

int runRules()
{
    const InputFile image = readImageFile(arguments.image);
    check::loadApplicationTables(image);
    const appmngr_app *app = appmngr_getAppById(arguments.appId);
    if (app == nullptr) {
        throw check::Failure(image.name, "has no application " + std::to_string(arguments.appId));
    }
    if (arguments.json) {
        printJson(rulesAsJson(*app));
    } else {
        appmngr_showAppRules(arguments.appId);
    }
    return 0;
}

} // namespace

const Command show = {"show", "List the application database of an image with all its rules",
                      declareImage, runShow};

const Command apps = {"apps", "List the applications of an image", declareListing, runApps};

const Command types = {"types", "List the application types of an image", declareListing, runTypes};

const Command rules = {"rules", "List the rules of one application of an image", declareRules,
                       runRules};

} // namespace tool
