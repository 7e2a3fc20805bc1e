/*
 * The options of subcommands. The library that parses them takes long to compile; only what
 * options.cpp and main.cpp need is seen there.
 */
#ifndef TOOL_OPTIONS_H
#define TOOL_OPTIONS_H

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace tool
{

/* An option with a value, whose type is shown in --help, or, without dashes, an argument. */
void addOption(CLI::App &parser, const char *name, std::string &value, const char *type,
               const std::string &what);

/* One that may be repeated; check returns what is wrong with a value, or an empty text. */
void addRepeated(CLI::App &parser, const char *name, std::vector<std::string> &values,
                 const char *type, const char *what,
                 std::string (*check)(const std::string &value));

/* One whose value is one of these. */
void addChoice(CLI::App &parser, const char *name, std::string &value,
               std::initializer_list<const char *> choices, const char *what);

void addFlag(CLI::App &parser, const char *name, bool &flag, const char *what);

/* An argument that must be there: a file to read. */
void addInput(CLI::App &parser, const char *name, std::string &path, const std::string &what);

/* Any number of them. */
void addInputs(CLI::App &parser, const char *name, std::vector<std::string> &paths,
               const std::string &what);

/* What several subcommands have. */
void addDatabase(CLI::App &parser, std::string &path);
void addOutput(CLI::App &parser, const char *type, std::string &path, const std::string &what);
void addJson(CLI::App &parser, bool &json);
void addListingForm(CLI::App &parser, bool &json, bool &plain);

void addAppId(CLI::App &parser, uint32_t &id);

/* For what check::Texts are read with. */
void addForce(CLI::App &parser, bool &force);

/* An option must be there, and check, if it is given, return an empty text for its value. */
void require(CLI::App &parser, const char *name,
             std::string (*check)(const std::string &value) = nullptr);

/* At least one of the options must be there. */
void requireOneOf(CLI::App &parser, std::initializer_list<const char *> names);

void exclude(CLI::App &parser, const char *name, const char *other);

} // namespace tool

#endif
