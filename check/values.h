/*
 * The values of elements: numbers, texts of limited length, expiry dates, tuples.
 */
#ifndef CHECK_VALUES_H
#define CHECK_VALUES_H

#include "appmngr/appmngr_model.h"
#include "check/document.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace check
{

/*
 * The longest message to the kernel, in bytes. It doubles the send buffer that a socket asks for,
 * and net.core.wmem_max bounds what it may ask for; its own record of the datagram takes 32 bytes.
 */
constexpr size_t defaultWmemMax = 212992;
constexpr size_t messageLimit = 2 * defaultWmemMax - 32;

constexpr size_t messageHead = 64; /* around the records */
constexpr size_t ruleLimit = (messageLimit - messageHead) / sizeof(appmngr_rule);
constexpr size_t keywordLimit = (messageLimit - messageHead) / sizeof(appmngr_dnsRule);

/* The number that a loader reads from the value of node, 0 when it cannot. */
int32_t numberOf(const XmlpNode *node);

/* What makes a number a doubtful one, as the end of a sentence about it; null for nothing. */
const char *numberWarning(std::string_view number);

/* Reports a value that is a doubtful number. */
void checkNumber(const Document &document, const XmlpNode *node, Source &source);

/* Reports a text that has more than limit bytes. */
void checkTextLength(const Document &document, const XmlpNode *node, size_t limit, Source &source);

/*
 * Reports an expiry date that is no date, or in the past. One that cannot be read at all is an
 * error where a loader reads it (isRead).
 */
void checkExpiry(const Document &document, const XmlpNode *node, bool isRead, Source &source);

/* Reports a number of so many that is close to its limit. */
void checkNearLimit(size_t number, size_t limit, const char *what, size_t offset, Source &source);

/* The pieces of text between the bytes of separators; runs of these count as one. */
std::vector<std::string_view> split(std::string_view text, std::string_view separators);

/* Protocol, address and port of the source, those of the destination; 0 for any. */
using Tuple = std::array<uint32_t, 5>;

/* Reports what is wrong with a tuple; returns it if the loader makes a rule of it. */
std::optional<Tuple> checkTuple(const Document &document, const XmlpNode *node, Source &source);

} // namespace check

#endif
