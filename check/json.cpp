#include "check/json.h"

namespace check
{

std::string jsonText(const Json &document, int indent)
{
    return document.dump(indent, ' ', false, Json::error_handler_t::replace);
}

} // namespace check
