/*
 * Reading and writing whole files; output.
 */
#ifndef TOOL_FILE_H
#define TOOL_FILE_H

#include "check/database.h"
#include "check/output.h"

#include <string>
#include <vector>

namespace tool
{

using check::InputFile;
using check::Json;
using check::jsonText;

/* Reads a file, or standard input for the path "-". Throws Failure. */
InputFile readFile(const std::string &path);

/*
 * Replaces the file at path as a whole; if that fails, it stays as it was. A file that is not
 * regular, such as a device or a pipe, is written in place; the path "-" is standard output. Throws
 * Failure.
 */
void writeFile(const std::string &path, const std::string &contents);

struct OutputFile {
    std::string path;
    std::string contents;
};

/* Replaces several regular files; if one cannot be written, all stay as they were. */
void writeFiles(const std::vector<OutputFile> &files);

/* Write to standard output. Throw Failure if not everything could be written. */
void writeStandardOutput(const std::string &contents);
void printJson(const Json &document); /* indented */

} // namespace tool

#endif
