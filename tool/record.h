/*
 * The records of the tables as text and as JSON, which names the members as the records do.
 */
#ifndef TOOL_RECORD_H
#define TOOL_RECORD_H

#include "appmngr/appmngr_model.h"
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

/* The tuple of a rule as it stands in a database: "tcp 0:0 192.0.2.10:443". */
std::string tupleText(const appmngr_rule &rule);

Json toJson(const appmngr_feature &feature);
Json toJson(const appmngr_rule &rule);
Json toJson(const appmngr_dnsRule &rule);

/* The applications of a priority map that have a priority: [{"appId":7,"priority":1}, ...]. */
Json prioritiesAsJson(const std::vector<unsigned char> &map);

/* The ids of the applications in a type's bitmap, ascending. */
std::vector<uint32_t> applicationsOf(const appmngr_appType &type);

} // namespace tool

#endif
