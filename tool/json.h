/*
 * Listings as one JSON document, for programs that read them.
 */
#ifndef TOOL_JSON_H
#define TOOL_JSON_H

#include <nlohmann/json.hpp>

namespace tool
{

/* Members stay in the order in which they were added. */
using Json = nlohmann::ordered_json;

/*
 * The text of document. What is no UTF-8, a character cut at the end of its field for one, becomes
 * U+FFFD.
 */
std::string jsonText(const Json &document, int indent = -1);

/* Writes document, indented and with a line end, to standard output. Throws Failure. */
void printJson(const Json &document);

} // namespace tool

#endif
