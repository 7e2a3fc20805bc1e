/*
 * The texts that are checked and what was found in them.
 */
#ifndef CHECK_SOURCE_H
#define CHECK_SOURCE_H

#include "check/checks.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace check
{

struct Finding {
    Rule rule;
    size_t offset; /* in the text, in bytes */
    std::string message;
};

/* A text of a file; or the file around its texts, then without a text of its own. */
struct Source {
    std::string file;
    std::string database; /* which one of an image or container; empty for a file as a whole */
    std::string text;
    std::vector<Finding> findings;

    void add(Rule rule, size_t offset, const std::string &message);
    bool hasErrors() const;
};

/* The beginning of text in quotes, for a message. */
std::string quoted(std::string_view text);

/* Where an offset is, for a person. */
struct Place {
    size_t line = 1;
    size_t column = 1;   /* in characters; a tab is one */
    std::string excerpt; /* what there is room for of the line */
    std::string caret;   /* stands, printed below the excerpt, under the offset */
};

/* Finds the places of offsets of a text, which must be asked for in increasing order. */
class PlaceFinder
{
public:
    /* text must outlive the finder. */
    explicit PlaceFinder(const std::string &text);
    Place find(size_t offset);

private:
    std::string_view text_;
    size_t at_ = 0;
    size_t lineStart_ = 0;
    size_t line_ = 1;
    size_t column_ = 1;
};

} // namespace check

#endif
