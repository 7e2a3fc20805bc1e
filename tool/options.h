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

inline void addImage(CLI::App &parser, std::string &path)
{
    addInput(parser, "IMAGE", path, "Image file");
}

inline void addJson(CLI::App &parser, bool &json)
{
    parser.add_flag("--json", json, "As one JSON document");
}

} // namespace tool

#endif
