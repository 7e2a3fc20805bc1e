/*
 * The records of the tables as text and as JSON, which names the members as the records do.
 */
#ifndef TOOL_RECORD_H
#define TOOL_RECORD_H

#include "appmngr/appmngr_model.h"
#include "apppri/apppri.h"
#include "tool/file.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace tool
{

/* The text in a field, which need not be terminated. */
template <size_t size> std::string fieldText(const char (&field)[size])
{
    return std::string(field, strnlen(field, size));
}

/* A table of records, for loops. */
template <typename Record> struct Records {
    const Record *first;
    uint32_t count;

    const Record *begin() const
    {
        return first;
    }

    const Record *end() const
    {
        return first + (first != nullptr ? count : 0);
    }
};

/* The loaded tables; empty if they were not filled. */
Records<appmngr_app> applications();
Records<appmngr_appType> applicationTypes();
Records<appmngr_rule> applicationRules();
Records<appmngr_dnsRule> keywords();

/* What the loaded tables have of one application; types by their ids. */
std::vector<appmngr_rule> rulesOf(uint32_t appId);
std::vector<appmngr_dnsRule> keywordsOf(uint32_t appId);
std::vector<uint32_t> typesOf(uint32_t appId);

/* The ids of the applications in a type's bitmap, ascending. */
std::vector<uint32_t> applicationsOf(const appmngr_appType &type);

/* The tuple of a rule as it stands in a database: "tcp 0:0 192.0.2.10:443". */
std::string tupleText(const appmngr_rule &rule);

/* The rules as a table for people. */
std::string rulesAsTable(const std::vector<appmngr_rule> &rules);
std::string rulesAsTable(const Records<appmngr_rule> &rules);

/* "Application database, version 1.2.0 for TARN-AR300, expires 2030-12-31", of fields of a header.
 */
std::string headerText(const std::string &name, const std::string &version,
                       const std::string &model, const std::string &expiry);

/* The loaded priority database, as text for people and as JSON. */
std::string priorityDatabaseAsText();
Json priorityDatabaseAsJson();

/* The loaded application database. */
Json applicationDatabaseAsJson();

Json toJson(const appmngr_app &app);
Json toJson(const appmngr_appType &type);
Json toJson(const appmngr_feature &feature);
Json toJson(const appmngr_rule &rule);
Json toJson(const std::vector<appmngr_rule> &rules);
Json toJson(const appmngr_dnsRule &rule);

/* The applications of a priority map that have a priority: [{"appId":7,"priority":1}, ...]. */
Json prioritiesAsJson(const std::vector<unsigned char> &map);

} // namespace tool

#endif
