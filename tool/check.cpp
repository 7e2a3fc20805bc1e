// tarn-db-tool check - everything that is wrong or suspicious in databases, as a compiler says it.

#include "check/check.h"
#include "check/output.h"
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
        writeStandardOutput(check::listChecks(arguments.json));
        return 0;
    }
    std::deque<check::Source> sources;
    for (const std::string &path : arguments.files) {
        check::checkFile(readFile(path), sources);
    }
    const check::Report report = arguments.json
                                     ? check::reportAsJson(sources, arguments.warningsAreErrors)
                                     : check::reportAsText(sources, arguments.warningsAreErrors,
                                                           check::showsColour(STDOUT_FILENO));
    writeStandardOutput(report.text);
    return report.errors == 0 ? 0 : 1;
}

} // namespace tool
