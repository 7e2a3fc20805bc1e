/*
 * The subcommands of tarn-db-tool. Each is a row: what --help says of it, what it takes on the
 * command line, and what it does. It is defined in the file that is named after it or after its
 * kind.
 */
#ifndef TOOL_COMMANDS_H
#define TOOL_COMMANDS_H

namespace CLI
{
class App;
}

namespace tool
{

struct Command {
    const char *name;
    const char *summary; /* one line, without a full stop */

    /* Adds the options to the parser of the subcommand, to be stored where run finds them. */
    void (*declare)(CLI::App &parser);

    /* Returns the exit status, or throws check::Failure for status 1. */
    int (*run)();
};

extern const Command apps;
extern const Command bundle;
extern const Command check;
extern const Command diff;
extern const Command exportRules;
extern const Command fmt;
extern const Command messages;
extern const Command pack;
extern const Command priority;
extern const Command rules;
extern const Command seal;
extern const Command show;
extern const Command types;
extern const Command unpack;
extern const Command unseal;
extern const Command verify;

} // namespace tool

#endif
