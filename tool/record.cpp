// The records of the tables as text and as JSON.

#include "tool/record.h"

#include "appmngr/appmngr.h"

#include <arpa/inet.h>
#include <nlohmann/json.hpp>

namespace tool
{

namespace
{

std::string addressText(uint32_t address)
{
    char text[INET_ADDRSTRLEN] = "0";
    if (address != 0) {
        inet_ntop(AF_INET, &address, text, sizeof(text));
    }
    return text;
}

} // namespace

std::string tupleText(const appmngr_rule &rule)
{
    return std::string(appmngr_protoName(rule.proto)) + " " + addressText(rule.sip) + ":" +
           std::to_string(rule.sport) + " " + addressText(rule.dip) + ":" +
           std::to_string(rule.dport);
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

std::vector<uint32_t> applicationsOf(const appmngr_appType &type)
{
    std::vector<uint32_t> ids;
    for (uint32_t id = 0; id < APPMNGR_APP_ID_LIMIT; id++) {
        if ((type.appBitmap[id / 32] >> id % 32 & 1) != 0) {
            ids.push_back(id);
        }
    }
    return ids;
}

} // namespace tool
