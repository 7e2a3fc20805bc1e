// tarn-db-tool show, apps, types and rules - what is in the databases of a file.

#include "tool/commands.h"

#include "appmngr/appmngr.h"
#include "check/device.h"
#include "tool/file.h"
#include "tool/options.h"
#include "tool/record.h"
#include "tool/table.h"

#include <cstdint>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <string>

namespace tool
{

namespace
{

struct {
    std::string file;
    uint32_t appId = 0;
    bool plain = false;
    bool json = false;
} arguments;

void declareListing(CLI::App &parser)
{
    addDatabase(parser, arguments.file);
    addListingForm(parser, arguments.json, arguments.plain);
}

void declareRules(CLI::App &parser)
{
    addDatabase(parser, arguments.file);
    addAppId(parser, arguments.appId);
    addListingForm(parser, arguments.json, arguments.plain);
}

std::string appsAsTable()
{
    Table table({{"ID", Align::Right},
                 {"NAME"},
                 {"VISIBLE"},
                 {"RULES", Align::Right},
                 {"KEYWORDS", Align::Right},
                 {"TYPES"}});
    for (const appmngr_app &app : applications()) {
        table.add({std::to_string(app.id), fieldText(app.name), app.visible != 0 ? "yes" : "no",
                   std::to_string(rulesOf(app.id).size()),
                   std::to_string(keywordsOf(app.id).size()), listText(typesOf(app.id))});
    }
    return table.text();
}

std::string typesAsTable()
{
    Table table({{"ID", Align::Right}, {"NAME"}, {"APPLICATIONS"}});
    for (const appmngr_appType &type : applicationTypes()) {
        table.add({std::to_string(type.id), fieldText(type.name), listText(applicationsOf(type))});
    }
    return table.text();
}

std::string keywordsAsTable()
{
    Table table({{"APP", Align::Right}, {"KEYWORD"}});
    for (const appmngr_dnsRule &rule : keywords()) {
        table.add({std::to_string(rule.appId), fieldText(rule.keyword)});
    }
    return table.text();
}

std::string applicationDatabaseAsText()
{
    const appmngr_appDb &database = g_appmngr_appDb;
    return headerText("Application database", database.ver, database.proModel, database.expired) +
           "\n" + appsAsTable() + "\n" + typesAsTable() + "\n" + rulesAsTable(applicationRules()) +
           "\n" + keywordsAsTable();
}

int runShow()
{
    const InputFile file = readDatabaseFile(arguments.file);
    if (arguments.plain) {
        check::loadApplicationTables(file);
        appmngr_showDb();
        return 0;
    }
    std::string text;
    Json json = Json::object();
    if (check::loadIfThere(file, check::applicationDatabase)) {
        text = applicationDatabaseAsText();
        json["application"] = applicationDatabaseAsJson();
    }
    if (check::loadIfThere(file, check::priorityDatabase)) {
        text += (text.empty() ? "" : "\n") + priorityDatabaseAsText();
        json["priority"] = priorityDatabaseAsJson();
    }
    if (arguments.json) {
        printJson(json);
    } else {
        writeStandardOutput(text);
    }
    return 0;
}

int list(void (*show)(), std::string (*asTable)(), const char *name, Json (*asJson)())
{
    check::loadApplicationTables(readDatabaseFile(arguments.file));
    if (arguments.json) {
        printJson({{name, asJson()}});
    } else if (arguments.plain) {
        show();
    } else {
        writeStandardOutput(asTable());
    }
    return 0;
}

int runApps()
{
    return list(appmngr_showApps, appsAsTable, "applications", [] {
        Json apps = Json::array();
        for (const appmngr_app &app : applications()) {
            apps.push_back(toJson(app));
        }
        return apps;
    });
}

int runTypes()
{
    return list(appmngr_showAppTypes, typesAsTable, "types", [] {
        Json types = Json::array();
        for (const appmngr_appType &type : applicationTypes()) {
            types.push_back(toJson(type));
        }
        return types;
    });
}

int runRules()
{
    const InputFile file = readDatabaseFile(arguments.file);
    check::loadApplicationTables(file);
    const appmngr_app *app = appmngr_getAppById(arguments.appId);
    if (app == nullptr) {
        throw check::Failure(file.name, "has no application " + std::to_string(arguments.appId));
    }
    const std::vector<appmngr_rule> rules = rulesOf(app->id);
    if (arguments.json) {
        printJson({{"id", app->id}, {"name", fieldText(app->name)}, {"rules", toJson(rules)}});
    } else if (arguments.plain) {
        appmngr_showAppRules(arguments.appId);
    } else {
        writeStandardOutput(rulesAsTable(rules));
    }
    return 0;
}

} // namespace

const Command show = {"show", "List all that is in the databases of a file", declareListing,
                      runShow};

const Command apps = {"apps", "List the applications", declareListing, runApps};

const Command types = {"types", "List the application types", declareListing, runTypes};

const Command rules = {"rules", "List the rules of one application", declareRules, runRules};

} // namespace tool
