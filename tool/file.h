/*
 * Whole files in, whole files out.
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

/* Reads a file, standard input for the path "-". Throws Failure. */
InputFile readFile(const std::string &path);

/*
 * Makes contents the content of the file at path, or leaves the file as it was and throws
 * Failure. What is no regular file, a device or a pipe, is written to in place; the path "-" is
 * standard output.
 */
void writeFile(const std::string &path, const std::string &contents);

struct OutputFile {
    std::string path;
    std::string contents;
};

/* The same for several regular files: when one cannot be written, all are left as they were. */
void writeFiles(const std::vector<OutputFile> &files);

/* Write to standard output; throw Failure when not everything could be written. */
void writeStandardOutput(const std::string &contents);
void printJson(const Json &document); /* indented, with a line end */

} // namespace tool

#endif
