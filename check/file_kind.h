/*
 * A file of any kind.
 */
#ifndef CHECK_FILE_KIND_H
#define CHECK_FILE_KIND_H

#include "check/input_file.h"
#include "check/source.h"

#include <deque>

namespace check
{

/*
 * Checks an XML text, an image or an update container, whichever the file looks like. Adds what is
 * found to sources.
 */
void checkFile(const InputFile &file, std::deque<Source> &sources);

} // namespace check

#endif
