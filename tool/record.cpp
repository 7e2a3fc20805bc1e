// The records of the tables as text and as JSON.

#include "tool/record.h"

#include "appmngr/appmngr.h"
#include "tool/table.h"

#include <algorithm>
#include <arpa/inet.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tool
{

namespace
{

template <typename Record>
std::vector<Record> ofApplication(const Records<Record> &all, uint32_t appId)
{
    std::vector<Record> own;
    std::copy_if(all.begin(), all.end(), std::back_inserter(own),
                 [appId](const Record &record) { return record.appId == appId; });
    return own;
}

bool hasApplication(const appmngr_appType &type, uint32_t id)
{
    return id < APPMNGR_APP_ID_LIMIT && (type.appBitmap[id / 32] >> id % 32 & 1) != 0;
}

std::string addressText(uint32_t address)
{
    char text[INET_ADDRSTRLEN] = "0";
    if (address != 0) {
        inet_ntop(AF_INET, &address, text, sizeof(text));
    }
    return text;
}

std::string endpointText(uint32_t address, uint16_t port)
{
    return fmt::format("{}:{}", address != 0 ? addressText(address) : "any",
                       port != 0 ? std::to_string(port) : "any");
}

std::string signatureText(const appmngr_feature &feature)
{
    return feature.enable == 0 ? "-"
                               : fmt::format("{} {} in bytes {}-{} of {}+",
                                             fieldText(feature.dpiType), fieldText(feature.dpiCode),
                                             feature.start, feature.end, feature.minlength);
}

Json toJson(const apppri_sort &sort)
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

} // namespace

Records<appmngr_app> applications()
{
    return {g_appmngr_app, g_appmngr_appDb.appCount};
}

Records<appmngr_appType> applicationTypes()
{
    return {g_appmngr_appDb.type, g_appmngr_appDb.typeCount};
}

Records<appmngr_rule> applicationRules()
{
    return {g_appmngr_appDb.rule, g_appmngr_appDb.ruleCount};
}

Records<appmngr_dnsRule> keywords()
{
    return {g_appmngr_appDns.rule, g_appmngr_appDns.count};
}

std::vector<appmngr_rule> rulesOf(uint32_t appId)
{
    return ofApplication(applicationRules(), appId);
}

std::vector<appmngr_dnsRule> keywordsOf(uint32_t appId)
{
    return ofApplication(keywords(), appId);
}

std::vector<uint32_t> typesOf(uint32_t appId)
{
    std::vector<uint32_t> ids;
    for (const appmngr_appType &type : applicationTypes()) {
        if (hasApplication(type, appId)) {
            ids.push_back(type.id);
        }
    }
    return ids;
}

std::vector<uint32_t> applicationsOf(const appmngr_appType &type)
{
    std::vector<uint32_t> ids;
    for (uint32_t id = 0; id < APPMNGR_APP_ID_LIMIT; id++) {
        if (hasApplication(type, id)) {
            ids.push_back(id);
        }
    }
    return ids;
}

std::string tupleText(const appmngr_rule &rule)
{
    return fmt::format("{} {}:{} {}:{}", appmngr_protoName(rule.proto), addressText(rule.sip),
                       rule.sport, addressText(rule.dip), rule.dport);
}

std::string rulesAsTable(const std::vector<appmngr_rule> &rules)
{
    Table table({{"APP", Align::Right},
                 {"NAME"},
                 {"PROTOCOL"},
                 {"SOURCE"},
                 {"DESTINATION"},
                 {"PATTERN"},
                 {"PATTERN OF REPLY"}});
    for (const appmngr_rule &rule : rules) {
        const appmngr_app *const app = appmngr_getAppById(rule.appId);
        table.add({std::to_string(rule.appId), app != nullptr ? fieldText(app->name) : "",
                   appmngr_protoName(rule.proto), endpointText(rule.sip, rule.sport),
                   endpointText(rule.dip, rule.dport), signatureText(rule.orig),
                   signatureText(rule.reply)});
    }
    return table.text();
}

std::string rulesAsTable(const Records<appmngr_rule> &rules)
{
    return rulesAsTable(std::vector<appmngr_rule>(rules.begin(), rules.end()));
}

std::string headerText(const std::string &name, const std::string &version,
                       const std::string &model, const std::string &expiry)
{
    const std::string text = name + (version.empty() ? "" : ", version " + version) +
                             (model.empty() ? "" : " for " + model) +
                             (expiry.empty() ? "" : ", expires " + expiry);
    return check::printable(text) + "\n";
}

std::string priorityDatabaseAsText()
{
    Table table({{"SORT", Align::Right},
                 {"NAME"},
                 {"TYPE", Align::Right},
                 {"PRIORITY", Align::Right},
                 {"APP", Align::Right},
                 {"APPLICATION"}});
    for (const apppri_sort *sort = apppri_firstSort(); sort != nullptr;
         sort = apppri_nextSort(sort)) {
        const std::vector<std::string> start = {std::to_string(sort->id), fieldText(sort->name),
                                                std::to_string(sort->type),
                                                std::to_string(sort->prio)};
        const auto addRow = [&](const std::string &id, const std::string &name) {
            std::vector<std::string> row = start;
            row.insert(row.end(), {id, name});
            table.add(row);
        };
        const apppri_app *app = apppri_firstApp(sort);
        if (app == nullptr) {
            addRow("-", "-");
        }
        for (; app != nullptr; app = apppri_nextApp(sort, app)) {
            addRow(std::to_string(app->appId), fieldText(app->appName));
        }
    }
    return headerText("Priority database", fieldText(apppri_db.ver), fieldText(apppri_db.proModel),
                      fieldText(apppri_db.expired)) +
           "\n" + table.text();
}

Json priorityDatabaseAsJson()
{
    Json sorts = Json::array();
    for (const apppri_sort *sort = apppri_firstSort(); sort != nullptr;
         sort = apppri_nextSort(sort)) {
        sorts.push_back(toJson(*sort));
    }
    return {{"ver", fieldText(apppri_db.ver)},
            {"proModel", fieldText(apppri_db.proModel)},
            {"expired", fieldText(apppri_db.expired)},
            {"sorts", sorts}};
}

Json applicationDatabaseAsJson()
{
    Json apps = Json::array();
    for (const appmngr_app &app : applications()) {
        Json entry = toJson(app);
        entry["types"] = typesOf(app.id);
        entry["rules"] = toJson(rulesOf(app.id));
        entry["keywords"] = Json::array();
        for (const appmngr_dnsRule &rule : keywordsOf(app.id)) {
            entry["keywords"].push_back(fieldText(rule.keyword));
        }
        apps.push_back(entry);
    }
    Json types = Json::array();
    for (const appmngr_appType &type : applicationTypes()) {
        types.push_back(toJson(type));
    }
    return {{"ver", fieldText(g_appmngr_appDb.ver)},
            {"proModel", fieldText(g_appmngr_appDb.proModel)},
            {"expired", fieldText(g_appmngr_appDb.expired)},
            {"applications", apps},
            {"types", types}};
}

Json toJson(const appmngr_app &app)
{
    return {{"id", app.id}, {"visible", app.visible}, {"name", fieldText(app.name)}};
}

Json toJson(const appmngr_appType &type)
{
    return {
        {"id", type.id}, {"name", fieldText(type.name)}, {"applications", applicationsOf(type)}};
}

Json toJson(const appmngr_feature &feature)
{
    return {{"enable", feature.enable},
            {"start", feature.start},
            {"end", feature.end},
            {"minlength", feature.minlength},
            {"dpiType", fieldText(feature.dpiType)},
            {"dpiCode", fieldText(feature.dpiCode)}};
}

Json toJson(const appmngr_rule &rule)
{
    return {{"appId", rule.appId},          {"proto", appmngr_protoName(rule.proto)},
            {"sip", addressText(rule.sip)}, {"sport", rule.sport},
            {"dip", addressText(rule.dip)}, {"dport", rule.dport},
            {"orig", toJson(rule.orig)},    {"reply", toJson(rule.reply)}};
}

Json toJson(const std::vector<appmngr_rule> &rules)
{
    Json list = Json::array();
    for (const appmngr_rule &rule : rules) {
        list.push_back(toJson(rule));
    }
    return list;
}

Json toJson(const appmngr_dnsRule &rule)
{
    return {{"appId", rule.appId}, {"keyword", fieldText(rule.keyword)}};
}

Json prioritiesAsJson(const std::vector<unsigned char> &map)
{
    Json priorities = Json::array();
    for (size_t appId = 0; appId < map.size(); appId++) {
        if (map[appId] != 0) {
            priorities.push_back({{"appId", appId}, {"priority", map[appId]}});
        }
    }
    return priorities;
}

} // namespace tool
