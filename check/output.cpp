// JSON documents and the escape sequences of terminals.

#include "check/output.h"

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace check
{

std::string jsonText(const Json &document, int indent)
{
    return document.dump(indent, ' ', false, Json::error_handler_t::replace);
}

bool showsColour(int descriptor)
{
    const char *const forbidden = std::getenv("NO_COLOR");
    return isatty(descriptor) == 1 && (forbidden == nullptr || *forbidden == '\0');
}

std::string coloured(const std::string &text, Colour colour)
{
    return "\033[" + std::to_string(static_cast<int>(colour)) + "m" + text + "\033[0m";
}

} // namespace check
