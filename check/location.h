/*
 * Locations in a text, for a person.
 */
#ifndef CHECK_LOCATION_H
#define CHECK_LOCATION_H

#include <cstddef>
#include <string>
#include <string_view>

namespace check
{

struct Location {
    size_t line = 1;
    size_t column = 1;   /* in characters; a tab is one */
    std::string excerpt; /* of the line, as much as is shown */
    std::string caret;   /* points, printed below the excerpt, at the offset */
};

/* Finds the locations of offsets of a text, which must be asked for in increasing order. */
class LocationFinder
{
public:
    /* text must outlive the finder. */
    explicit LocationFinder(const std::string &text);
    Location find(size_t offset);

private:
    std::string_view text_;
    size_t at_ = 0;
    size_t lineStart_ = 0;
    size_t line_ = 1;
    size_t column_ = 1;
};

/* Moves at back to the first byte of its character, but not before first. */
size_t characterStart(std::string_view text, size_t at, size_t first);

/* The beginning of text in quotes, for a message. */
std::string inQuotes(std::string_view text);

} // namespace check

#endif
