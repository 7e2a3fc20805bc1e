/*
 * The subcommands of tarn-db-tool: one file for each, named after it. main.cpp declares what each
 * takes on the command line.
 */
#ifndef TOOL_COMMANDS_H
#define TOOL_COMMANDS_H

#include <cstdint>
#include <string>
#include <vector>

namespace tool
{

/* What the command line says. A subcommand looks at what it takes; "-" is a standard stream. */
struct Arguments {
    std::string input;              /* file to read; to pack or bundle, the application database */
    std::string priority;           /* to pack or bundle, the priority database; may be empty */
    std::string newImage;           /* to compare the input with */
    std::vector<std::string> files; /* to check */
    std::string output;             /* file or directory to write to; may be empty if optional */
    std::string version;
    uint32_t appId = 0;
    bool json = false;
    bool compact = false;
    bool map = false;
    bool ofPriority = false; /* the priority database of the image, not the application database */
    bool listsRules = false;
    bool warningsAreErrors = false;
};

/* Each does a subcommand's work and returns the exit status, or throws a Failure for status 1. */
int apps(const Arguments &arguments);
int bundle(const Arguments &arguments);
int check(const Arguments &arguments);
int diff(const Arguments &arguments);
int exportRules(const Arguments &arguments);
int fmt(const Arguments &arguments);
int messages(const Arguments &arguments);
int pack(const Arguments &arguments);
int priority(const Arguments &arguments);
int rules(const Arguments &arguments);
int seal(const Arguments &arguments);
int show(const Arguments &arguments);
int types(const Arguments &arguments);
int unpack(const Arguments &arguments);
int unseal(const Arguments &arguments);
int verify(const Arguments &arguments);

/* What is wrong with a version to bundle under; empty for nothing. */
std::string checkVersion(const std::string &version);

} // namespace tool

#endif
