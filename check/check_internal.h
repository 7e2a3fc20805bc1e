/*
 * What the files of the linter share among themselves.
 */
#ifndef CHECK_CHECK_INTERNAL_H
#define CHECK_CHECK_INTERNAL_H

#include "check/check.h"
#include "check/document.h"

#include <array>
#include <optional>
#include <set>
#include <string_view>

namespace check
{

/* Whether a file begins as an XML document does: with a BOM or with a tag. */
bool looksLikeXml(const std::string &file);

/* The ids of the applications of a database, when its text could be read. */
using AppIds = std::optional<std::set<uint32_t>>;

/*
 * Checks the text of source, which is that of database, and gets appIds from an application
 * database or holds a priority database against them.
 */
void checkText(const Database &database, Source &source, AppIds &appIds);

/* Checks the text of a file that is an XML document: of either database, and still to be packed. */
void checkXmlFile(Source &source);

/* The images of both databases, in the order of the table. */
using Images = std::array<Image, 2>;

/* Whether one of them is something like an image. */
bool isPlausible(const Images &images);

/* Checks an image file with the databases in it. */
void checkImageFile(const InputFile &file, const Images &images, std::deque<Source> &sources);

/*
 * Checks the image of one database. file gets what is wrong with the image, and a source of its
 * own, added to sources, what is wrong with the text.
 */
void checkImage(const Image &image, const Database &database, Source &file,
                std::deque<Source> &sources, AppIds &appIds);

/* Whether the file begins with the digest of a container. */
bool hasContainerDigest(const std::string &file);

/* Whether, whatever the digest, the file is divided as a container is. */
bool hasContainerStructure(const std::string &file);

/* Checks an application database; returns the ids of its applications. */
std::set<uint32_t> checkApplications(const Document &document, Source &source);

/*
 * Checks a priority database. appIds are the applications of the application database beside it,
 * null when there is none.
 */
void checkPriorities(const Document &document, const std::set<uint32_t> *appIds, Source &source);

} // namespace check

#endif
