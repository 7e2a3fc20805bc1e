/*
 * A text of a database, wherever it comes from.
 */
#ifndef CHECK_TEXT_H
#define CHECK_TEXT_H

#include "check/database.h"
#include "check/source.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace check
{

/* Whether a text begins as an XML document does: with a mark, or with a tag. */
bool looksLikeXml(const std::string &text);

/* The ids of the applications of a database, when its text could be read. */
using AppIds = std::optional<std::set<uint32_t>>;

/*
 * Checks the text of source, which is that of database, and gets appIds from an application
 * database or holds a priority database against them.
 */
void checkText(const Database &database, Source &source, AppIds &appIds);

/* Checks the text of a file that is an XML document: of either database, and still to be packed. */
void checkXmlFile(Source &source);

} // namespace check

#endif
