/*
 * The subcommands of tarn-db-tool: one file for each, named after it, and one table of them.
 */
#ifndef TOOL_COMMAND_H
#define TOOL_COMMAND_H

#include <CLI/CLI.hpp>

#include <functional>

namespace tool
{

/* Does a subcommand's work; returns the exit status, or throws a Failure for status 1. */
using Action = std::function<int()>;

struct Command {
    const char *name;
    const char *summary; /* one line, without a full stop */

    /* Declares the arguments on the subcommand's own parser and returns what to do with them. */
    Action (*setup)(CLI::App &arguments);
};

/* In the order in which --help lists them; a row with a null name ends the table. */
extern const Command commands[];

Action setupPack(CLI::App &arguments);
Action setupCheck(CLI::App &arguments);
Action setupUnpack(CLI::App &arguments);
Action setupShow(CLI::App &arguments);
Action setupRules(CLI::App &arguments);
Action setupApps(CLI::App &arguments);
Action setupTypes(CLI::App &arguments);
Action setupExport(CLI::App &arguments);
Action setupFmt(CLI::App &arguments);
Action setupPriority(CLI::App &arguments);
Action setupSeal(CLI::App &arguments);
Action setupUnseal(CLI::App &arguments);
Action setupBundle(CLI::App &arguments);
Action setupVerify(CLI::App &arguments);
Action setupMessages(CLI::App &arguments);
Action setupDiff(CLI::App &arguments);

} // namespace tool

#endif
