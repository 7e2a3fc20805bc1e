/*
 * A file of any kind.
 */
#ifndef TOOL_CHECK_FILE_H
#define TOOL_CHECK_FILE_H

#include "tool/check_source.h"
#include "tool/file.h"

#include <deque>

namespace tool
{

/*
 * Checks an XML text, an image or an update container, whichever the file looks like. Adds what is
 * found to sources.
 */
void checkFile(const InputFile &file, std::deque<Source> &sources);

} // namespace tool

#endif
