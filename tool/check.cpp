// tarn-db-tool check - everything that is wrong or suspicious in databases, as a compiler says it.

#include "tool/check_file.h"
#include "tool/check_report.h"
#include "tool/colour.h"
#include "tool/command.h"
#include "tool/file.h"
#include "tool/json.h"

#include <deque>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace tool
{

namespace
{

struct CheckOptions {
    std::vector<std::string> files;
    bool listsRules = false;
    bool json = false;
    bool warningsAreErrors = false;
};

int check(const CheckOptions &options)
{
    if (options.listsRules) {
        writeStandardOutput(listRules(options.json));
        return 0;
    }
    if (options.files.empty()) {
        throw CLI::RequiredError("FILE");
    }
    std::deque<Source> sources;
    for (const std::string &path : options.files) {
        checkFile(readFile(path), sources);
    }
    const Report report =
        options.json ? reportAsJson(sources, options.warningsAreErrors)
                     : reportAsText(sources, options.warningsAreErrors, showsColour(STDOUT_FILENO));
    writeStandardOutput(report.text);
    return report.errors == 0 ? 0 : 1;
}

} // namespace

Action setupCheck(CLI::App &arguments)
{
    const auto options = std::make_shared<CheckOptions>();
    arguments.add_option("FILE", options->files,
                         "XML text, image or update container, - for standard input");
    arguments.add_flag("--rules", options->listsRules, "List the rules instead");
    addJsonFlag(arguments, options->json);
    arguments.add_flag("--werror", options->warningsAreErrors, "Take warnings for errors");
    return [options] { return check(*options); };
}

} // namespace tool
