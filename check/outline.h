/*
 * The outline of a database: which elements it has, where they belong and what they hold.
 */
#ifndef CHECK_OUTLINE_H
#define CHECK_OUTLINE_H

#include "check/check.h"
#include "check/document.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace check
{

enum class Kind {
    List,        /* holds records or entries, or none */
    Group,       /* holds elements; belongs there once */
    Record,      /* holds elements; any number of them */
    Text,        /* belongs there once */
    Number,      /* belongs there once */
    TextEntry,   /* any number of them */
    NumberEntry, /* any number of them */
};

struct OutlineRow {
    unsigned depth; /* below the row of the element that it belongs in */
    const char *name;
    Kind kind;
    unsigned limit; /* of a text, in bytes; 0 for none */
};

struct Outline {
    const OutlineRow *rows; /* in document order; the first is the top element */
    size_t count;
    bool rejectsOthers; /* its loader fails at elements that do not belong */

    /* Names of the elements that take up a record wherever the loader meets them; null at the end.
     */
    const char *const *records;
};

/*
 * Reports what is wrong with the elements of document one by one: their names, parents and values.
 * The top element must be that of the outline.
 */
void checkOutline(const Document &document, const Outline &outline, Source &source);

/* How many letters have to be added, left out or replaced; letter case does not count. */
size_t editDistance(std::string_view a, std::string_view b);

} // namespace check

#endif
