/*
 * Reading and writing whole files, texts of databases among them; output.
 */
#ifndef TOOL_FILE_H
#define TOOL_FILE_H

#include "appmngr/appmngr_model.h"
#include "apppri/apppri.h"
#include "check/check.h"
#include "check/output.h"

#include <exception>
#include <string>
#include <vector>

namespace tool
{

using check::InputFile;
using check::Json;
using check::jsonText;

/* How much of a file can matter, in bytes: nothing that is longer is looked at. */
constexpr size_t fileMax = 4 << 20;

/*
 * Reads at most max bytes of a file, or of standard input for the path "-". What follows is left
 * alone. Throws Failure.
 */
InputFile readFile(const std::string &path, size_t max);

/* The same for the whole of a file; throws Failure if it has more than max bytes. */
InputFile readWholeFile(const std::string &path, size_t max);

/* Reads what can matter of a text, image or container. */
inline InputFile readDatabaseFile(const std::string &path)
{
    return readFile(path, fileMax + 1);
}

/*
 * Replaces the file at path as a whole, with its mode and, if allowed, its owner; if that fails, or
 * a signal ends the program, it stays as it was. A symbolic link stays one. A file that is not
 * regular, such as a device or a pipe, is written in place; the path "-" is standard output. Throws
 * Failure.
 */
void writeFile(const std::string &path, const std::string &contents);

/*
 * Reads the texts at paths, in the order of the table of databases; none for an empty path. Unless
 * forced, reports texts with errors on standard error and throws Failure.
 */
check::Texts readTexts(const std::string (&paths)[2], bool forced);

/*
 * The text of an XML file, in the subset that devices read. A text that is not well-formed is
 * reported on standard error; then throws Failure.
 */
check::Source readSource(const InputFile &file);

struct OutputFile {
    std::string path;
    std::string contents;
};

/* Replaces several regular files; if one cannot be written, all stay as they were. */
void writeFiles(const std::vector<OutputFile> &files);

/* Prints a failure on standard error. */
void reportFailure(const std::exception &failure);

/* Write to standard output. Throw Failure if not everything could be written. */
void writeStandardOutput(const std::string &contents);
void printJson(const Json &document); /* indented */

} // namespace tool

#endif
