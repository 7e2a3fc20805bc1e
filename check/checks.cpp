// The rules of tarn-db-tool check: names, severities and what they say.

#include "check/checks.h"

#include <cstddef>
#include <iterator>

namespace check
{

namespace
{

constexpr Severity error = Severity::Error;
constexpr Severity warning = Severity::Warning;

constexpr RuleDescription table[] = {
    {Rule::UnknownFormat, error, "unknown-format",
     "The file is neither an XML text nor an image nor an update container."},
    {Rule::ContainerLength, error, "container-length",
     "The container or a file in it is longer or shorter than it may be or says it is."},
    {Rule::ContainerDigest, error, "container-digest",
     "The container's digest is not that of its files."},
    {Rule::ContainerCount, error, "container-count",
     "The container has more than 16 files, or another number than it says."},
    {Rule::FileDigest, error, "file-digest",
     "A file of the container cannot be decrypted: its digest differs."},
    {Rule::FileVersion, error, "file-version",
     "An application database of the container is not of version 1.2.x."},
    {Rule::FileMagic, error, "file-magic",
     "The magic of a database file is neither 0x04000001 nor 0."},
    {Rule::FileReserved, error, "file-reserved", "The reserved word of a database file is not 0."},
    {Rule::ImageLength, error, "image-length",
     "The length field of an image is too small for one."},
    {Rule::ImageSize, error, "image-size", "An image takes more than its 65,536 bytes."},
    {Rule::TextSize, error, "text-size",
     "A text is longer than 204,799 bytes, that of a priority database than 65,535."},
    {Rule::RefusedText, error, "refused-text",
     "The text is not of the XML subset; nothing of it is loaded."},
    {Rule::WrongRoot, error, "wrong-root",
     "The top element is not that of the database, AppDB or AppSortDB."},
    {Rule::LongValue, error, "long-value", "A value of 512 bytes or more reads as missing."},
    {Rule::CutText, error, "cut-text", "A text is longer than its field and is cut."},
    {Rule::BadTuple, error, "bad-tuple",
     "A tuple is not PROTOCOL ADDRESS:PORT ADDRESS:PORT and is left out."},
    {Rule::UnknownType, error, "unknown-type",
     "An application names a type that the database does not define."},
    {Rule::AppIdRange, error, "app-id-range", "An application id is not within 0 to 4,095."},
    {Rule::MissingId, error, "missing-id", "An application or a type has no id."},
    {Rule::LateId, error, "late-id", "The id of an application stands after lists that use it."},
    {Rule::NoApplication, error, "no-application", "The database has no application."},
    {Rule::NoType, error, "no-type", "The database has no application type."},
    {Rule::NoTuple, error, "no-tuple", "The database has no tuple."},
    {Rule::NoDnsKeyword, error, "no-dns-keyword",
     "The database has no DNS keyword; its load is reported as failed."},
    {Rule::TooManyTypes, error, "too-many-types",
     "The database has more than 64 application types."},
    {Rule::TooManyRules, error, "too-many-rules",
     "The rule table does not fit one datagram of 425,952 bytes."},
    {Rule::UncountedRecord, error, "uncounted-record",
     "A record stands where no room is set aside for it, and takes that of another."},
    {Rule::RefusedElement, error, "refused-element",
     "The priority database has an element where its loader refuses it."},
    {Rule::CountMismatch, error, "count-mismatch",
     "sortNum or appNum is not the number of sorts or applications."},
    {Rule::BadExpiry, error, "bad-expiry",
     "The expiry date of the priority database cannot be read."},
    {Rule::NoSort, error, "no-sort", "The priority database has no sort."},
    {Rule::UnlistedSort, error, "unlisted-sort", "A sort without type is dropped."},
    {Rule::UnlistedApp, error, "unlisted-app",
     "An application without appName is dropped from its sort."},
    {Rule::LoaderLine, error, "loader-line",
     "The loader reports a fault that no other error explains."},
    {Rule::ImageCut, warning, "image-cut", "The file ends before its image does."},
    {Rule::ImageDamaged, warning, "image-damaged",
     "The compressed stream is damaged; the loader takes what comes before that."},
    {Rule::UnknownElement, warning, "unknown-element",
     "The loader does not know an element and skips it."},
    {Rule::MisplacedElement, warning, "misplaced-element",
     "An element stands where it does not belong."},
    {Rule::RepeatedElement, warning, "repeated-element",
     "An element that belongs there once is repeated; the last one counts."},
    {Rule::EmptyElement, warning, "empty-element", "An element has no content and is skipped."},
    {Rule::StrayText, warning, "stray-text",
     "Text stands outside the elements that hold text and is ignored."},
    {Rule::IgnoredAttribute, warning, "ignored-attribute",
     "An element has attributes, which are ignored."},
    {Rule::BadNumber, warning, "bad-number",
     "A number has no digits, more than digits, or more than 32 bits."},
    {Rule::PortRange, warning, "port-range", "A port is not within 0 to 65,535."},
    {Rule::DuplicateAppId, warning, "duplicate-app-id", "Two applications have the same id."},
    {Rule::DuplicateTypeId, warning, "duplicate-type-id", "Two types have the same id."},
    {Rule::RuleWithoutTuple, warning, "rule-without-tuple",
     "A rule without a tuple matches nothing."},
    {Rule::UnusedType, warning, "unused-type", "No application has a type."},
    {Rule::AppWithoutRules, warning, "app-without-rules", "An application has no rules."},
    {Rule::PriorityRange, warning, "priority-range",
     "A priority is not within 0 to 255; its low 8 bits are taken."},
    {Rule::UnknownApp, warning, "unknown-app",
     "The application database beside the priority database lacks an application."},
    {Rule::JsonUnsafe, warning, "json-unsafe",
     "A signature has characters that make database.json ill-formed."},
    {Rule::UnclearExpiry, warning, "unclear-expiry",
     "The expiry date is not a date of the calendar as YYYY-MM-DD."},
    {Rule::PastExpiry, warning, "past-expiry", "The expiry date is in the past."},
};

constexpr bool isInOrder()
{
    for (size_t i = 0; i < std::size(table); i++) {
        if (table[i].rule != static_cast<Rule>(i)) {
            return false;
        }
    }
    return table[std::size(table) - 1].rule == Rule::PastExpiry;
}

static_assert(isInOrder(), "describe looks rules up by their number");

} // namespace

const RuleDescription &describe(Rule rule)
{
    return table[static_cast<size_t>(rule)];
}

std::vector<RuleDescription> allRules()
{
    return {std::begin(table), std::end(table)};
}

} // namespace check
