/*
 * JSON documents: their members stay in the order in which they were added.
 */
#ifndef CHECK_JSON_H
#define CHECK_JSON_H

#include <nlohmann/json.hpp>

namespace check
{

using Json = nlohmann::ordered_json;

/*
 * The text of document. Invalid UTF-8, such as a character cut at the end of its field, becomes
 * U+FFFD.
 */
std::string jsonText(const Json &document, int indent = -1);

} // namespace check

#endif
