/*
 * Images: the length field, the compressed stream, the texts in it.
 */
#ifndef CHECK_IMAGE_H
#define CHECK_IMAGE_H

#include "check/database.h"
#include "check/input_file.h"
#include "check/source.h"
#include "check/text.h"

#include <deque>
#include <string>

namespace check
{

/* Whether there is something like an image of either database in the file. */
bool looksLikeImage(const std::string &file);

/* Checks an image file with the databases in it. */
void checkImageFile(const InputFile &file, std::deque<Source> &sources);

/*
 * Checks the image of one database, which is the contents of image. fileSource gets what is wrong
 * with the image, and a source of its own, added to sources, what is wrong with the text.
 */
void checkImage(const InputFile &image, const Database &database, Source &fileSource,
                std::deque<Source> &sources, AppIds &appIds);

} // namespace check

#endif
