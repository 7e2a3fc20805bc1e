// tarn-db-tool rules - the rules of one application of an image.

#include "appmngr/appmngr.h"
#include "check/database.h"
#include "check/device.h"
#include "tool/commands.h"
#include "tool/file.h"
#include "tool/json.h"
#include "tool/record.h"

#include <cstdint>
#include <string>

namespace tool
{

namespace
{

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

} // namespace

int rules(const Arguments &arguments)
{
    const InputFile image = readFile(arguments.input);
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

} // namespace tool
