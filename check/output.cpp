// JSON documents and the escape sequences of terminals.

#include "check/output.h"

#include <cstdlib>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>
#include <utf8.h>

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

std::string printable(std::string_view text)
{
    const auto isControl = [](uint32_t code) {
        return (code < 0x20 && code != '\t') || (code >= 0x7F && code < 0xA0);
    };
    const auto turnsDirection = [](uint32_t code) {
        return code == 0x061C || code == 0x200E || code == 0x200F ||
               (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    };
    std::string shown;
    const char *const end = text.data() + text.size();
    for (const char *at = text.data(); at < end;) {
        const char *const invalid = utf8::find_invalid(at, end);
        while (at < invalid) {
            const char *const start = at;
            const uint32_t code = utf8::unchecked::next(at);
            if (isControl(code) || turnsDirection(code)) {
                shown += fmt::format(code < 0x80 ? "\\x{:02X}" : "\\u{:04X}", code);
            } else {
                shown.append(start, at);
            }
        }
        if (at < end) {
            shown += fmt::format("\\x{:02X}", static_cast<unsigned char>(*at));
            at++;
        }
    }
    return shown;
}

std::string coloured(const std::string &text, Colour colour)
{
    return "\033[" + std::to_string(static_cast<int>(colour)) + "m" + text + "\033[0m";
}

} // namespace check
