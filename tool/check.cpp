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
    parser.add_option("FILE", arguments.files,
                      "XML text, image or update container, - for standard input");
    parser.add_flag("--list-checks", arguments.listChecks, "List the checks instead");
    addJson(parser, arguments.json);
    parser.add_flag("--werror", arguments.warningsAreErrors, "Treat warnings as errors");
    parser.parse_complete_callback([] {
        if (arguments.files.empty() && !arguments.listChecks) {
            throw CLI::RequiredError("FILE");
        }
    });
}

int run()
{
    if (arguments.listChecks) {
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

} // namespace

const Command check = {
    "check", "Report what is wrong or suspicious in databases, images, containers", declare, run};

} // namespace tool
