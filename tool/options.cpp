// The options of subcommands.

#include "tool/options.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace tool
{

namespace
{

// An unset variable of a shell script must not pass for an option that was not given.
std::string checkNotEmpty(const std::string &value)
{
    return value.empty() ? "must not be empty" : "";
}

} // namespace

void addOption(CLI::App &parser, const char *name, std::string &value, const char *type,
               const std::string &what)
{
    parser.add_option(name, value, what)->type_name(type)->check(checkNotEmpty);
}

void addRepeated(CLI::App &parser, const char *name, std::vector<std::string> &values,
                 const char *type, const char *what, std::string (*check)(const std::string &value))
{
    parser.add_option(name, values, what)->type_name(type)->check(check)->allow_extra_args(false);
}

void addChoice(CLI::App &parser, const char *name, std::string &value,
               std::initializer_list<const char *> choices, const char *what)
{
    parser.add_option(name, value, what)
        ->check(CLI::IsMember(std::vector<std::string>(choices.begin(), choices.end())));
}

void addFlag(CLI::App &parser, const char *name, bool &flag, const char *what)
{
    parser.add_flag(name, flag, what);
}

void addInput(CLI::App &parser, const char *name, std::string &path, const std::string &what)
{
    parser.add_option(name, path, what + ", - for standard input")
        ->required()
        ->check(checkNotEmpty);
}

void addInputs(CLI::App &parser, const char *name, std::vector<std::string> &paths,
               const std::string &what)
{
    parser.add_option(name, paths, what + ", - for standard input")->check(checkNotEmpty);
}

void addDatabase(CLI::App &parser, std::string &path)
{
    addInput(parser, "FILE", path, "XML text, image or update container");
}

void addOutput(CLI::App &parser, const char *type, std::string &path, const std::string &what)
{
    addOption(parser, "-o,--output", path, type, what + " to write, - for standard output");
    require(parser, "--output");
}

void addJson(CLI::App &parser, bool &json)
{
    addFlag(parser, "--json", json, "Print one JSON document");
}

void addListingForm(CLI::App &parser, bool &json, bool &plain)
{
    addJson(parser, json);
    addFlag(parser, "--plain", plain, "Print the library's own listing, as a device does");
    exclude(parser, "--plain", "--json");
}

void addForce(CLI::App &parser, bool &force)
{
    addFlag(parser, "--force", force, "Do it even if check finds errors");
}

void addAppId(CLI::App &parser, uint32_t &id)
{
    parser.add_option("APPID", id, "Id of the application")
        ->required()
        ->check(CLI::Range(0u, UINT32_MAX));
}

void require(CLI::App &parser, const char *name, std::string (*check)(const std::string &value))
{
    CLI::Option *const option = parser.get_option(name)->required();
    if (check != nullptr) {
        option->check(check);
    }
}

void requireOneOf(CLI::App &parser, std::initializer_list<const char *> names)
{
    const std::vector<std::string> options(names.begin(), names.end());
    parser.parse_complete_callback([&parser, options] {
        std::string list;
        for (const std::string &option : options) {
            if (parser.count(option) > 0) {
                return;
            }
            list += (list.empty() ? "" : " or ") + option;
        }
        throw CLI::RequiredError(list);
    });
}

void exclude(CLI::App &parser, const char *name, const char *other)
{
    parser.get_option(name)->excludes(parser.get_option(other));
}

} // namespace tool
