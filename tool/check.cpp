// tarn-db-tool check - everything that is wrong or suspicious in databases, as a compiler says it.

#include "tool/commands.h"

#include "check/check.h"
#include "check/output.h"
#include "tool/file.h"
#include "tool/options.h"

#include <deque>
#include <string>
#include <unistd.h>
#include <vector>

namespace tool
{

namespace
{

struct {
    std::vector<std::string> files;
    bool listChecks = false;
    bool json = false;
    bool warningsAreErrors = false;
} arguments;

void declare(CLI::App &parser)
{
    addInputs(parser, "FILE", arguments.files, "XML text, image or update container");
    addFlag(parser, "--list-checks", arguments.listChecks, "List the checks instead");
    addJson(parser, arguments.json);
    addFlag(parser, "--werror", arguments.warningsAreErrors, "Treat warnings as errors");
    requireOneOf(parser, {"FILE", "--list-checks"});
}

int run()
{
    if (arguments.listChecks) {
        writeStandardOutput(check::listChecks(arguments.json));
        return 0;
    }
    std::deque<check::Source> sources;
    for (const std::string &path : arguments.files) {
        check::checkFile(readFile(path, xmlFileMax + 1), sources);
    }
    const check::Report report = arguments.json
                                     ? check::reportAsJson(sources, arguments.warningsAreErrors)
                                     : check::reportAsText(sources, arguments.warningsAreErrors,
                                                           check::showsColour(STDOUT_FILENO));
    writeStandardOutput(report.text);
    return report.errors == 0 ? 0 : 1;
}

} // namespace

const Command check = {
    "check", "Report what is wrong or suspicious in databases, images, containers", declare, run};

} // namespace tool
