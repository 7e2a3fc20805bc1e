// The values of elements: numbers, texts of limited length, expiry dates.

#include "check/values.h"

#include "appmngr/appmngr.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <string>

namespace check
{

namespace
{

constexpr std::string_view blanks = " \t\r\n";

// Bytes of an expiry date that are read.
constexpr size_t expiryLimit = 31;

using Date = std::array<int32_t, 6>; // year, month, day, hour, minute, second

// The three numbers of a date or time; false when there are not three.
bool readThree(std::string_view text, std::string_view separators, int32_t *numbers)
{
    const std::vector<std::string_view> pieces = split(text, separators);
    if (pieces.size() != 3) {
        return false;
    }
    for (size_t i = 0; i < 3; i++) {
        numbers[i] = appmngr_atoi(std::string(pieces[i]).c_str());
    }
    return true;
}

// Reads a date as the loader of the priority database does.
bool readDate(std::string_view text, Date &date)
{
    const std::vector<std::string_view> words = split(text, blanks);
    if (words.empty() || words.size() > 2) {
        return false;
    }
    return readThree(words[0], "-\t\r\n", date.data()) &&
           (words.size() == 1 || readThree(words[1], ":\t\r\n", date.data() + 3));
}

bool isLeapYear(int32_t year)
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

bool isOfCalendar(const Date &date)
{
    static constexpr int32_t days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const auto [year, month, day, hour, minute, second] = date;
    if (year < 1 || year > 9999 || month < 1 || month > 12 || hour < 0 || hour > 23 || minute < 0 ||
        minute > 59 || second < 0 || second > 59) {
        return false;
    }
    const int32_t last = days[month - 1] + (month == 2 && isLeapYear(year) ? 1 : 0);
    return day >= 1 && day <= last;
}

bool isWellWritten(std::string_view text)
{
    return text.find_first_not_of("0123456789-: \t\r\n") == std::string_view::npos;
}

// A date without time is past when its day is.
bool isPast(const Date &date, bool hasTime)
{
    const time_t now = time(nullptr);
    struct tm utc = {};
    gmtime_r(&now, &utc);
    const Date today = {
        utc.tm_year + 1900,        utc.tm_mon + 1,           utc.tm_mday,
        hasTime ? utc.tm_hour : 0, hasTime ? utc.tm_min : 0, hasTime ? utc.tm_sec : 0};
    return date < today;
}

} // namespace

int32_t numberOf(const XmlpNode *node)
{
    int32_t number = 0;
    return appmngr_getNodeInt(node, &number) == 0 ? number : 0;
}

const char *doubtAbout(std::string_view number)
{
    const std::string text(number);
    char *end = nullptr;
    const long long value = strtoll(text.c_str(), &end, 10);
    if (end == text.c_str()) {
        return "has no digits and reads as 0";
    }
    if (number.substr(static_cast<size_t>(end - text.c_str())).find_first_not_of(blanks) !=
        std::string_view::npos) {
        return "has more than digits; what follows them is ignored";
    }
    return value < INT32_MIN || value > UINT32_MAX ? "does not fit 32 bits" : nullptr;
}

void checkNumber(const Document &document, const XmlpNode *node, Source &source)
{
    const std::string_view value = valueOf(node);
    const char *doubt = doubtAbout(value);
    if (doubt != nullptr) {
        source.add(Rule::BadNumber, document.positionOf(node).content,
                   "the number " + quoted(value) + " of " + quoted(node->name) + " " + doubt);
    }
}

void checkTextLength(const Document &document, const XmlpNode *node, size_t limit, Source &source)
{
    if (node->valueSize > limit) {
        source.add(Rule::CutText, document.placeInValue(node, limit),
                   quoted(node->name) + " takes " + std::to_string(node->valueSize) +
                       " bytes and is cut here; there is room for " + std::to_string(limit));
    }
}

void checkExpiry(const Document &document, const XmlpNode *node, bool isRead, Source &source)
{
    const std::string_view text = valueOf(node).substr(0, expiryLimit);
    const size_t offset = document.positionOf(node).content;
    Date date = {};
    const bool isReadable = readDate(text, date);
    if (!isReadable && isRead) {
        source.add(Rule::BadExpiry, offset,
                   quoted(text) + " is not YYYY-MM-DD or YYYY-MM-DD hh:mm:ss");
    } else if (!isReadable || !isWellWritten(text) || !isOfCalendar(date)) {
        source.add(Rule::UnclearExpiry, offset,
                   quoted(text) + " is no date as YYYY-MM-DD or YYYY-MM-DD hh:mm:ss");
    } else if (isPast(date, split(text, blanks).size() > 1)) {
        source.add(Rule::PastExpiry, offset, quoted(text) + " is in the past");
    }
}

std::vector<std::string_view> split(std::string_view text, std::string_view separators)
{
    std::vector<std::string_view> pieces;
    size_t at = text.find_first_not_of(separators);
    while (at != std::string_view::npos) {
        const size_t end = std::min(text.find_first_of(separators, at), text.size());
        pieces.push_back(text.substr(at, end - at));
        at = text.find_first_not_of(separators, end);
    }
    return pieces;
}

} // namespace check
