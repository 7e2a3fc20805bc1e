/*
 * What the files of the linter share among themselves.
 */
#ifndef CHECK_CHECK_INTERNAL_H
#define CHECK_CHECK_INTERNAL_H

#include "check/check.h"
#include "check/content.h"
#include "check/document.h"

#include <optional>
#include <set>
#include <vector>

namespace check
{

/* The ids of applications in databases that belong together. */
struct AppIds {
    struct Use {
        Source *source;
        size_t offset;
        uint32_t id;
    };

    std::optional<std::set<uint32_t>> defined; /* by application databases that could be read */
    std::vector<Use> used;                     /* in priority databases */

    /* Reports those that are used but not defined, if any are defined at all. */
    void reportUnknown() const;
};

/* Checks the text of source, which is that of database, and adds the ids in it to appIds. */
void checkText(const Database &database, Source &source, AppIds &appIds);

/* The same for the text of a file that is an XML document: of either database, and still to be
 * packed. */
void checkXmlFile(Source &source, AppIds &appIds);

/* Checks an image file with the databases in it. */
void checkImageFile(const InputFile &file, const Images &images, std::deque<Source> &sources);

/*
 * Checks the image of one database. file gets what is wrong with the image, and a source of its
 * own, added to sources, what is wrong with the text.
 */
void checkImage(const Image &image, const Database &database, Source &file,
                std::deque<Source> &sources, AppIds &appIds);

/* Check a database, and add its ids to appIds. */
void checkApplications(const Document &document, Source &source, AppIds &appIds);
void checkPriorities(const Document &document, Source &source, AppIds &appIds);

} // namespace check

#endif
