// tarn-db-tool - the companion of tarn-db-loader for database authors: the table of its
// subcommands, and its errors.

#include "tool/commands.h"
#include "tool/file.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace
{

constexpr int wrongCommandLine = 2;

// In the order in which --help lists them.
const tool::Command *const commands[] = {
    &tool::pack,   &tool::check,    &tool::unpack,   &tool::show,
    &tool::rules,  &tool::apps,     &tool::types,    &tool::exportRules,
    &tool::fmt,    &tool::priority, &tool::seal,     &tool::unseal,
    &tool::bundle, &tool::verify,   &tool::messages, &tool::diff,
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

std::string usageMessage(const CLI::App *, const CLI::Error &error)
{
    return std::string("tarn-db-tool: ") + error.what() +
           "\nRun tarn-db-tool --help for more information.\n";
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
        parser.parse(argc, argv);
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
        fprintf(stderr, "tarn-db-tool: %s\n", error.what());
        return failed;
    }
}
