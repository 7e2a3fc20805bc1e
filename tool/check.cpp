// tarn-db-tool check - everything that is wrong or suspicious in databases, as a compiler says it.

#include "tool/check_file.h"
#include "tool/check_report.h"
#include "tool/colour.h"
#include "tool/commands.h"
#include "tool/file.h"

#include <deque>
#include <string>
#include <unistd.h>
#include <vector>

namespace tool
{

namespace
{

} // namespace

int check(const Arguments &arguments)
{
    if (arguments.listsRules) {
        writeStandardOutput(listRules(arguments.json));
        return 0;
    }
    std::deque<Source> sources;
    for (const std::string &path : arguments.files) {
        checkFile(readFile(path), sources);
    }
    const Report report = arguments.json ? reportAsJson(sources, arguments.warningsAreErrors)
                                         : reportAsText(sources, arguments.warningsAreErrors,
                                                        showsColour(STDOUT_FILENO));
    writeStandardOutput(report.text);
    return report.errors == 0 ? 0 : 1;
}

} // namespace tool
