#include "tool/json.h"

#include "tool/file.h"

namespace tool
{

std::string jsonText(const Json &document, int indent)
{
    return document.dump(indent, ' ', false, Json::error_handler_t::replace);
}

void printJson(const Json &document)
{
    writeStandardOutput(jsonText(document, 2) + "\n");
}

} // namespace tool
