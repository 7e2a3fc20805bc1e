// tarn-db-tool - the companion of tarn-db-loader for database authors: the table of its
// subcommands, and its errors.

#include "check/outline.h"
#include "tool/commands.h"
#include "tool/file.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

constexpr int wrongCommandLine = 2;

// In the order in which --help lists them.
const tool::Command *const commands[] = {
    &tool::pack,   &tool::check,    &tool::unpack,   &tool::show,   &tool::rules,
    &tool::apps,   &tool::types,    &tool::match,    &tool::stat,   &tool::exportRules,
    &tool::fmt,    &tool::priority, &tool::seal,     &tool::unseal, &tool::bundle,
    &tool::verify, &tool::extract,  &tool::messages, &tool::diff,
};

// Opens the standard streams that the program was started without, so that no file becomes one of
// them. Using such a stream fails, except for standard error. Returns whether all are open.
bool openStandardStreams()
{
    bool areOpen = true;
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO && areOpen; fd++) {
        const int mode = fd == STDOUT_FILENO ? O_RDONLY : O_WRONLY;
        areOpen = fcntl(fd, F_GETFD) != -1 || open("/dev/null", mode) == fd;
    }
    return areOpen;
}

// The name among those of parsers or options that differs least, as a question; empty if none is
// near.
std::string suggestion(const std::string &word, const std::vector<std::string> &names)
{
    constexpr size_t nearby = 2;
    const auto distance = [&word](const std::string &name) {
        return check::editDistance(word, name);
    };
    const auto nearest =
        std::min_element(names.begin(), names.end(),
                         [&](const auto &a, const auto &b) { return distance(a) < distance(b); });
    const bool isNear = nearest != names.end() && distance(*nearest) <= nearby;
    return isNear ? "; did you mean " + *nearest + "?" : "";
}

std::vector<std::string> optionNames(const CLI::App &parser)
{
    std::vector<std::string> names;
    for (const CLI::Option *option : parser.get_options()) {
        for (const std::string &name : option->get_lnames()) {
            names.push_back("--" + name);
        }
    }
    return names;
}

std::string usageMessage(const CLI::App *parser, const CLI::Error &error)
{
    const std::vector<CLI::App *> subcommands = parser->get_subcommands();
    const CLI::App *const used = subcommands.empty() ? parser : subcommands.front();
    const std::vector<std::string> unknown = parser->remaining(true);
    return std::string("tarn-db-tool: ") + error.what() +
           (unknown.empty() ? "" : suggestion(unknown.front(), optionNames(*used))) +
           "\nRun tarn-db-tool " + (used == parser ? "" : used->get_name() + " ") +
           "--help for more information.\n";
}

// Returns the command line for the parser, which wants it in reverse. help SUBCOMMAND is the same
// as SUBCOMMAND --help. A first word that means nothing is rejected.
std::vector<std::string> wordsOf(int argc, char **argv)
{
    std::vector<std::string> words(argv + 1, argv + std::max(argc, 1));
    if (!words.empty() && words[0] == "help") {
        words.erase(words.begin());
        words.emplace_back("--help");
    }
    std::vector<std::string> known = {"-h", "--help", "--version"};
    for (const tool::Command *command : commands) {
        known.emplace_back(command->name);
    }
    if (!words.empty() && std::find(known.begin(), known.end(), words[0]) == known.end()) {
        throw CLI::ExtrasError("there is no subcommand " + words[0] + suggestion(words[0], known),
                               CLI::ExitCodes::ExtrasError);
    }
    std::reverse(words.begin(), words.end());
    return words;
}

// Leaves the exit status for an exception in failed.
int runTool(int argc, char **argv, int &failed)
{
    CLI::App parser("Makes and inspects database images for tarn-db-loader", "tarn-db-tool");
    parser.set_version_flag("--version", "tarn-db-tool " TARN_VERSION, "Print the version");
    parser.require_subcommand(1);
    parser.failure_message(usageMessage);

    int status = 0;
    for (const tool::Command *command : commands) {
        CLI::App *const subcommand = parser.add_subcommand(command->name, command->summary);
        command->declare(*subcommand);
        subcommand->final_callback([&, command] {
            failed = command->failed;
            status = command->run();
        });
    }
    try {
        parser.parse(wordsOf(argc, argv));
    } catch (const CLI::ParseError &error) {
        status = parser.exit(error) == 0 ? 0 : wrongCommandLine;
    }
    tool::writeStandardOutput(""); // what was printed may not have been written yet
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    int failed = 1;
    try {
        return openStandardStreams() ? runTool(argc, argv, failed) : failed;
    } catch (const std::exception &error) {
        tool::reportFailure(error);
        return failed;
    }
}
