// The values of elements: numbers, texts of limited length, expiry dates, tuples.

#include "check/values.h"

#include "appmngr/appmngr.h"
#include "check/check_internal.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdlib>
#include <ctime>

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

// Bytes of a tuple that the loader looks at.
constexpr size_t tupleLimit = 63;

// The number of a protocol, or 0.
uint32_t protocolOf(std::string_view name)
{
    for (const uint32_t protocol : {IPPROTO_TCP, IPPROTO_UDP, IPPROTO_ICMP}) {
        if (appmngr_strcasecmp(std::string(name).c_str(), appmngr_utils_proto2str(protocol)) == 0) {
            return protocol;
        }
    }
    return 0;
}

class TupleChecker
{
public:
    TupleChecker(const Document &document, const XmlpNode *node, Source &source)
        : document_(document), node_(node), source_(source),
          text_(valueOf(node).substr(0, tupleLimit))
    {
    }

    std::optional<Tuple> check()
    {
        const std::vector<std::string_view> words = split(text_, " \t\r\n");
        checkLength();
        if (words.size() != 3) {
            reject(text_, "is not PROTOCOL ADDRESS:PORT ADDRESS:PORT");
            return {};
        }
        tuple_[0] = protocolOf(words[0]);
        if (tuple_[0] == 0) {
            reject(words[0], "is not tcp, udp or icmp");
            return {};
        }
        if (!checkEndpoint(words[1], &tuple_[1]) || !checkEndpoint(words[2], &tuple_[3])) {
            return {};
        }
        return tuple_;
    }

private:
    void report(Check check, std::string_view part, const std::string &message)
    {
        const auto index = static_cast<size_t>(part.data() - text_.data());
        source_.add(check, document_.offsetInValue(node_, text_.empty() ? 0 : index),
                    inQuotes(part) + " " + message);
    }

    bool reject(std::string_view part, const std::string &message)
    {
        report(Check::BadTuple, part, message);
        return false;
    }

    // What is cut off does not matter when it is blank.
    void checkLength()
    {
        if (valueOf(node_).find_last_not_of(" \t\r\n") + 1 > tupleLimit) {
            checkTextLength(document_, node_, tupleLimit, source_);
        }
    }

    // Stores address and port in fields.
    bool checkEndpoint(std::string_view endpoint, uint32_t *fields)
    {
        const std::vector<std::string_view> parts = split(endpoint, ":");
        if (parts.size() != 2) {
            return reject(endpoint, "is not ADDRESS:PORT");
        }
        if (parts[0] != "0" && inet_pton(AF_INET, std::string(parts[0]).c_str(), fields) != 1) {
            return reject(parts[0], "is not an IPv4 address (use 0 for any)");
        }
        fields[1] = static_cast<uint16_t>(appmngr_atoi(std::string(parts[1]).c_str()));
        checkPort(parts[1], fields[1]);
        return true;
    }

    void checkPort(std::string_view text, uint32_t port)
    {
        const int32_t number = appmngr_atoi(std::string(text).c_str());
        if (numberWarning(text) != nullptr || number < 0 || number > UINT16_MAX) {
            report(Check::PortRange, text,
                   "is not a port; the loader stores " + std::to_string(port));
        } else if (tuple_[0] == IPPROTO_ICMP && port != 0) {
            report(Check::IcmpPort, text, "is the port of a protocol without ports");
        }
    }

    const Document &document_;
    const XmlpNode *node_;
    Source &source_;
    std::string_view text_;
    Tuple tuple_ = {};
};

} // namespace

int32_t numberOf(const XmlpNode *node)
{
    int32_t number = 0;
    return appmngr_getNodeInt(node, &number) == 0 ? number : 0;
}

const char *numberWarning(std::string_view number)
{
    const std::string text(number);
    char *end = nullptr;
    const long long value = strtoll(text.c_str(), &end, 10);
    if (end == text.c_str()) {
        return "has no digits and reads as 0";
    }
    if (number.substr(static_cast<size_t>(end - text.c_str())).find_first_not_of(blanks) !=
        std::string_view::npos) {
        return "has other characters after its digits; they are ignored";
    }
    return value < INT32_MIN || value > UINT32_MAX ? "does not fit in 32 bits" : nullptr;
}

void checkNumber(const Document &document, const XmlpNode *node, Source &source)
{
    const std::string_view value = valueOf(node);
    const char *warning = numberWarning(value);
    if (warning != nullptr) {
        source.add(Check::BadNumber, document.offsetsOf(node).content,
                   "the number " + inQuotes(value) + " of " + inQuotes(node->name) + " " + warning);
    }
}

void checkTextLength(const Document &document, const XmlpNode *node, size_t limit, Source &source)
{
    if (node->valueSize > limit) {
        const size_t cut = characterStart(valueOf(node), limit, 0);
        source.add(Check::CutText, document.offsetInValue(node, cut),
                   inQuotes(node->name) + " is " + std::to_string(node->valueSize) +
                       " bytes and is cut off here; the limit is " + std::to_string(limit));
    }
}

void checkExpiry(const Document &document, const XmlpNode *node, bool isRead, Source &source)
{
    const std::string_view text = valueOf(node).substr(0, expiryLimit);
    const size_t offset = document.offsetsOf(node).content;
    Date date = {};
    const bool isReadable = readDate(text, date);
    if (!isReadable && isRead) {
        source.add(Check::BadExpiry, offset,
                   inQuotes(text) + " cannot be read as YYYY-MM-DD[ hh:mm:ss]");
    } else if (!isReadable || !isWellWritten(text) || !isOfCalendar(date)) {
        source.add(Check::UnclearExpiry, offset,
                   inQuotes(text) + " is not a valid date (YYYY-MM-DD[ hh:mm:ss])");
    } else if (isPast(date, split(text, blanks).size() > 1)) {
        source.add(Check::PastExpiry, offset, inQuotes(text) + " is in the past");
    }
}

void checkNearLimit(size_t number, size_t limit, const char *what, size_t offset, Source &source)
{
    if (number * 100 >= limit * 95 && number <= limit) {
        source.add(Check::NearLimit, offset,
                   std::to_string(number) + " of " + std::to_string(limit) + " " + what +
                       " are used");
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

std::optional<Tuple> checkTuple(const Document &document, const XmlpNode *node, Source &source)
{
    return isLong(node) ? std::nullopt : TupleChecker(document, node, source).check();
}

} // namespace check
