/*
 * Images: the length field, the compressed stream, the texts in it.
 */
#ifndef TOOL_CHECK_IMAGE_H
#define TOOL_CHECK_IMAGE_H

#include "tool/check_source.h"
#include "tool/check_text.h"
#include "tool/file.h"
#include "tool/image.h"

#include <deque>
#include <string>

namespace tool
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

} // namespace tool

#endif
