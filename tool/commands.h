/*
 * The subcommands of tarn-db-tool. Each is defined in the file named after it, with its options;
 * pack.cpp has unpack too, seal.cpp unseal, and listings.cpp show, apps, types and rules.
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

    /* Adds the options, which are stored where run finds them, to the subcommand's parser. */
    void (*declare)(CLI::App &parser);

    /* Returns the exit status, or throws check::Failure. */
    int (*run)();

    int failed = 1; /* the exit status when run throws */
};

extern const Command apps;
extern const Command bundle;
extern const Command check;
extern const Command diff;
extern const Command exportRules;
extern const Command extract;
extern const Command fmt;
extern const Command match;
extern const Command messages;
extern const Command pack;
extern const Command priority;
extern const Command rules;
extern const Command seal;
extern const Command show;
extern const Command stat;
extern const Command types;
extern const Command unpack;
extern const Command unseal;
extern const Command verify;

} // namespace tool

#endif
