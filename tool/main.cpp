// tarn-db-tool - the companion of tarn-db-loader for those who make databases.

#include "tool/command.h"
#include "tool/file.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>

namespace
{

constexpr int failed = 1;
constexpr int wrongCommandLine = 2;

std::string usageMessage(const CLI::App *, const CLI::Error &error)
{
    return std::string("tarn-db-tool: ") + error.what() +
           "\nRun tarn-db-tool --help for more information.\n";
}

int runTool(int argc, char **argv)
{
    CLI::App app("Makes and inspects database images for tarn-db-loader", "tarn-db-tool");
    app.set_version_flag("--version", "tarn-db-tool " TARN_VERSION, "Print the version");
    app.require_subcommand(1);
    app.failure_message(usageMessage);

    int status = 0;
    for (const tool::Command *command = tool::commands; command->name != nullptr; ++command) {
        CLI::App *const subcommand = app.add_subcommand(command->name, command->summary);
        const tool::Action action = command->setup(*subcommand);
        subcommand->final_callback([action, &status] { status = action(); });
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? 0 : wrongCommandLine;
    }
    tool::writeStandardOutput("");
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return runTool(argc, argv);
    } catch (const std::exception &error) {
        fprintf(stderr, "tarn-db-tool: %s\n", error.what());
        return failed;
    }
}
