// tarn-db-tool rules - the rules of one application of an image.

#include "appmngr/appmngr.h"
#include "tool/command.h"
#include "tool/failure.h"
#include "tool/file.h"
#include "tool/json.h"
#include "tool/record.h"
#include "tool/tables.h"

#include <cstdint>
#include <memory>
#include <string>

namespace tool
{

namespace
{

struct RulesOptions {
    std::string image;
    uint32_t appId = 0;
    bool json = false;
};

Json rulesAsJson(const appmngr_app &app)
{
    Json rules = Json::array();
    for (uint32_t i = 0; i < g_appmngr_appDb.ruleCount; ++i) {
        if (g_appmngr_appDb.rule[i].appId == app.id) {
            rules.push_back(toJson(g_appmngr_appDb.rule[i]));
        }
    }
    return {{"id", app.id}, {"name", fieldText(app.name)}, {"rules", rules}};
}

int rules(const RulesOptions &options)
{
    const InputFile image = readFile(options.image);
    loadApplicationTables(image);
    const appmngr_app *app = appmngr_getAppById(options.appId);
    if (app == nullptr) {
        throw Failure(image.name, "has no application " + std::to_string(options.appId));
    }
    if (options.json) {
        printJson(rulesAsJson(*app));
    } else {
        appmngr_showAppRules(options.appId);
    }
    return 0;
}

} // namespace

Action setupRules(CLI::App &arguments)
{
    const auto options = std::make_shared<RulesOptions>();
    arguments.add_option("IMAGE", options->image, "Image file, - for standard input")->required();
    arguments.add_option("APPID", options->appId, "Id of the application")->required();
    addJsonFlag(arguments, options->json);
    return [options] { return rules(*options); };
}

} // namespace tool
