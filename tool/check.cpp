// tarn-db-tool check - what is wrong or suspicious in databases, images and update containers.

#include "tool/commands.h"

#include "check/check.h"
#include "check/output.h"
#include "tool/file.h"
#include "tool/options.h"

#include <algorithm>
#include <cstdio>
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
    std::vector<std::string> severities; // NAME=SEVERITY
    std::string explained;               // name of a check
    std::string format;
    std::string color;
    bool listChecks = false;
    bool json = false; // the same as the format json
    bool quiet = false;
    bool fix = false;
    bool warningsAreErrors = false;
} arguments;

constexpr int trouble = 2; // must not look like an error in a file

std::string checkSeverity(const std::string &assignment)
{
    return check::Severities().set(assignment);
}

void declare(CLI::App &parser)
{
    arguments.format = "text";
    arguments.color = "auto";
    addInputs(parser, "FILE", arguments.files, "XML text, image or update container");
    addRepeated(parser, "--set", arguments.severities, "NAME=off|warning|error",
                "Severity of a check", checkSeverity);
    addFlag(parser, "--werror", arguments.warningsAreErrors, "Treat warnings as errors");
    addFlag(parser, "--fix", arguments.fix, "Correct sortNum and appNum in XML texts first");
    addChoice(parser, "--format", arguments.format, {"text", "json", "sarif"},
              "Form of the report");
    addFlag(parser, "--json", arguments.json, "The same as --format json");
    addChoice(parser, "--color", arguments.color, {"auto", "always", "never"},
              "When to show colours");
    addFlag(parser, "--quiet", arguments.quiet, "Print no report");
    addOption(parser, "--explain", arguments.explained, "NAME", "Explain a check instead");
    addFlag(parser, "--list-checks", arguments.listChecks, "List the checks instead");
    requireOneOf(parser, {"FILE", "--explain", "--list-checks"});
}

int explain(const std::string &name)
{
    const std::string text = check::explainCheck(name);
    if (text.empty()) {
        throw check::Failure("--explain", "there is no check " + name);
    }
    writeStandardOutput(text);
    return 0;
}

check::Severities severities()
{
    check::Severities severities;
    if (arguments.warningsAreErrors) {
        severities.turnWarningsIntoErrors();
    }
    for (const std::string &assignment : arguments.severities) {
        severities.set(assignment);
    }
    return severities;
}

// Leaves out those that cannot be read, and says so.
std::vector<InputFile> readFiles()
{
    std::vector<InputFile> files;
    for (const std::string &path : arguments.files) {
        try {
            files.push_back(readDatabaseFile(path));
        } catch (const check::Failure &failure) {
            reportFailure(failure);
        }
    }
    return files;
}

void fixFiles(std::vector<InputFile> &files)
{
    if (std::find(arguments.files.begin(), arguments.files.end(), "-") != arguments.files.end()) {
        throw check::Failure("standard input", "cannot be corrected");
    }
    std::deque<check::Source> sources;
    check::checkFiles(files, sources);
    for (const check::Source &source : sources) {
        const std::string fixed = check::fixedText(source, severities());
        const auto file =
            std::find_if(files.begin(), files.end(), [&source](const auto &candidate) {
                return candidate.name == source.file;
            });
        if (source.isWritten && fixed != source.shown()) {
            writeFile(source.file, fixed);
            file->contents = fixed;
        }
    }
}

check::Report report(const std::deque<check::Source> &sources)
{
    if (arguments.json || arguments.format == "json") {
        return check::reportAsJson(sources, severities());
    }
    if (arguments.format == "sarif") {
        return check::reportAsSarif(sources, severities());
    }
    const bool inColour = arguments.color == "always" ||
                          (arguments.color == "auto" && check::showsColour(STDOUT_FILENO));
    return check::reportAsText(sources, severities(), inColour);
}

int run()
{
    if (!arguments.explained.empty()) {
        return explain(arguments.explained);
    }
    if (arguments.listChecks) {
        writeStandardOutput(check::listChecks(arguments.json));
        return 0;
    }
    std::vector<InputFile> files = readFiles();
    if (arguments.fix) {
        fixFiles(files);
    }
    std::deque<check::Source> sources;
    check::checkFiles(files, sources);
    const check::Report found = report(sources);
    if (!arguments.quiet) {
        writeStandardOutput(found.text);
    }
    return files.size() < arguments.files.size() ? trouble : found.errors > 0 ? 1 : 0;
}

} // namespace

const Command check = {"check", "Check databases, images and update containers", declare, run,
                       trouble};

} // namespace tool
