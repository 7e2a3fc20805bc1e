// Locations in a text, for a person.

#include "check/location.h"

#include "check/output.h"

#include <algorithm>

namespace check
{

namespace
{

constexpr std::string_view bom = "\xEF\xBB\xBF";

// Bytes of a line that are shown before and behind a location; a whole document may be one line.
constexpr size_t shownBefore = 60;
constexpr size_t shownBehind = 40;

constexpr size_t quotedLength = 40;

bool continuesCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

} // namespace

size_t characterStart(std::string_view text, size_t at, size_t first)
{
    while (at > first && at < text.size() && continuesCharacter(text[at])) {
        at--;
    }
    return at;
}

LocationFinder::LocationFinder(const std::string &text) : text_(text)
{
    if (text_.substr(0, bom.size()) == bom) {
        at_ = lineStart_ = bom.size();
    }
}

Location LocationFinder::find(size_t offset)
{
    for (; at_ < offset && at_ < text_.size(); at_++) {
        if (text_[at_] == '\n') {
            line_++;
            column_ = 1;
            lineStart_ = at_ + 1;
        } else if (!continuesCharacter(text_[at_])) {
            column_++;
        }
    }
    const size_t cut = at_ - lineStart_ > shownBefore ? at_ - shownBefore : lineStart_;
    const size_t begin = characterStart(text_, cut, lineStart_);
    const std::string_view rest = text_.substr(at_);
    const size_t shown =
        std::min(rest.substr(0, shownBehind + 1).find_first_of("\r\n"), rest.size());
    const size_t end = shown <= shownBehind ? shown : characterStart(rest, shownBehind, 0);
    const std::string before =
        (begin > lineStart_ ? "..." : "") + printable(text_.substr(begin, at_ - begin));
    Location location = {line_, column_, {}, {}};
    location.excerpt = before + printable(rest.substr(0, end)) + (end < shown ? "..." : "");
    for (const char byte : before) {
        if (!continuesCharacter(byte)) {
            location.caret += byte == '\t' ? '\t' : ' ';
        }
    }
    location.caret += '^';
    return location;
}

std::string inQuotes(std::string_view text)
{
    const size_t length = characterStart(text, std::min(text.size(), quotedLength), 0);
    return "'" + std::string(text.substr(0, length)) + (length < text.size() ? "...'" : "'");
}

} // namespace check
