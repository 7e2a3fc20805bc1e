/*
 * Options that several subcommands have.
 */
#ifndef TOOL_OPTIONS_H
#define TOOL_OPTIONS_H

#include <CLI/CLI.hpp>

#include <string>

namespace tool
{

inline void addInput(CLI::App &parser, const char *name, std::string &path, const std::string &what)
{
    parser.add_option(name, path, what + ", - for standard input")->required();
}

inline void addOutput(CLI::App &parser, const char *type, std::string &path,
                      const std::string &what)
{
    parser.add_option("-o,--output", path, what + " to write, - for standard output")
        ->required()
        ->type_name(type);
}

inline void addImage(CLI::App &parser, std::string &path)
{
    addInput(parser, "IMAGE", path, "Image file");
}

inline void addJson(CLI::App &parser, bool &json)
{
    parser.add_flag("--json", json, "Print one JSON document");
}

} // namespace tool

#endif
