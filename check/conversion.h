/*
 * XML as authors write it, and the subset of it that devices read.
 */
#ifndef CHECK_CONVERSION_H
#define CHECK_CONVERSION_H

#include "check/check.h"

#include <cstddef>
#include <optional>
#include <string>

namespace check
{

/* Something in a text that is wrong, or that devices do not read. */
struct Obstacle {
    size_t offset;
    std::string message;
    std::optional<Note> note = {};
};

struct Conversion {
    std::string text;          /* in the subset, as far as the text is well-formed */
    std::vector<Piece> pieces; /* where its parts come from */

    /* Why the text is not well-formed XML 1.0 in UTF-8, or declares entities. */
    std::optional<Obstacle> fault;
    bool isExplained = false; /* the fault has a message of our own, not the XML parser's */

    /* The first comment, CDATA section, processing instruction or DOCTYPE. */
    std::optional<Obstacle> foreign;
};

/*
 * Leaves out comments, processing instructions and the DOCTYPE of a text; writes CDATA sections,
 * references and attributes as devices read them. Loads nothing that the text refers to.
 */
Conversion convert(const std::string &text);

/* What to say of a byte that is not UTF-8. */
std::string notUtf8(char byte);

} // namespace check

#endif
