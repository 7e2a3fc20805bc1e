/*
 * A file as it was read.
 */
#ifndef CHECK_INPUT_FILE_H
#define CHECK_INPUT_FILE_H

#include <string>

namespace check
{

struct InputFile {
    std::string name; /* for messages */
    std::string contents;
};

} // namespace check

#endif
