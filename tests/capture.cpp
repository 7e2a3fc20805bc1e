#include "tests/capture.h"

#include <regex>
#include <sstream>

std::string edit(const std::string &text, const std::string &pattern, const std::string &to)
{
    return std::regex_replace(text, std::regex(pattern), to);
}

std::string lines(const std::string &printed)
{
    static const std::regex diagnostic("\\[(?:ERROR|Error|apppri_db_error)\\][\\[(](_?)(?:xmlp_|"
                                       "appmngr_|apppri_)?(\\w+)(?:\\(\\):|\\) )(\\d+)\\]?: ");
    static const std::regex outOfMemory(" malloc failed\\.");
    std::istringstream stream(std::regex_replace(printed, diagnostic, "\n$1$2:$3 "));
    std::string text;
    for (std::string line; std::getline(stream, line);) {
        line = line.substr(0, line.find('\r'));
        text += line.empty() ? "" : "; " + line;
    }
    return std::regex_replace(text, outOfMemory, "!");
}
