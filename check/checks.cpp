// The checks of tarn-db-tool check: names, severities and what they say.

#include "check/check.h"
#include "check/check_page.h"
#include "check/document.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace check
{

namespace
{

constexpr Severity error = Severity::Error;
constexpr Severity warning = Severity::Warning;

constexpr CheckDescription table[] = {
    {Check::UnknownFormat, error, "unknown-format",
     "The file is not an XML text, an image or an update container."},
    {Check::ContainerLength, error, "container-length",
     "The length of the container or of a file in it is out of range or does not match its "
     "header."},
    {Check::ContainerDigest, error, "container-digest",
     "The container's digest does not match its contents."},
    {Check::ContainerCount, error, "container-count",
     "The container has no file, more than 16, or not as many as its header declares."},
    {Check::FileDigest, error, "file-digest",
     "A file of the container cannot be decrypted: its digest does not match."},
    {Check::FileVersion, error, "file-version",
     "The version of an application database in the container is not 1.2.x."},
    {Check::FileMagic, error, "file-magic",
     "The magic of a database file is neither 0x04000001 nor 0."},
    {Check::FileReserved, error, "file-reserved", "The reserved word of a database file is not 0."},
    {Check::ImageLength, error, "image-length", "The length field of an image is too small."},
    {Check::ImageSize, error, "image-size", "An image is larger than 65,536 bytes."},
    {Check::TextSize, error, "text-size",
     "A text is longer than 204,799 bytes, or 65,535 for a priority database."},
    {Check::RejectedText, error, "rejected-text",
     "The text is not valid in the XML subset; nothing of it is loaded."},
    {Check::WrongRoot, error, "wrong-root",
     "The root element is not AppDB or, in a priority database, AppSortDB."},
    {Check::LongValue, error, "long-value", "A value of 512 bytes or more reads as missing."},
    {Check::CutText, error, "cut-text", "A text is longer than its field and is cut off."},
    {Check::BadTuple, error, "bad-tuple",
     "A tuple is not PROTOCOL ADDRESS:PORT ADDRESS:PORT and is skipped."},
    {Check::UnknownType, error, "unknown-type",
     "An application refers to a type that the database does not define."},
    {Check::AppIdRange, error, "app-id-range", "An application id is not in the range 0 to 4,095."},
    {Check::MissingId, error, "missing-id", "An application or a type has no id."},
    {Check::LateId, error, "late-id", "The id of an application comes after lists that use it."},
    {Check::NoApplication, error, "no-application", "The database has no application."},
    {Check::NoType, error, "no-type", "The database has no application type."},
    {Check::NoTuple, error, "no-tuple", "The database has no tuple."},
    {Check::NoDnsKeyword, error, "no-dns-keyword",
     "The database has no DNS keyword; its load is reported as failed."},
    {Check::TooManyTypes, error, "too-many-types",
     "The database has more than 64 application types."},
    {Check::TooManyRules, error, "too-many-rules",
     "The rule table does not fit in one datagram of 425,952 bytes."},
    {Check::UncountedRecord, error, "uncounted-record",
     "A record is where none are counted, and takes the room of another."},
    {Check::PortRange, error, "port-range",
     "A port is not a number in the range 0 to 65,535; another one is loaded."},
    {Check::RejectedElement, error, "rejected-element",
     "The priority database has an element that its loader rejects there."},
    {Check::CountMismatch, error, "count-mismatch",
     "sortNum or appNum does not match the number of sorts or applications."},
    {Check::BadExpiry, error, "bad-expiry",
     "The expiry date of the priority database cannot be parsed."},
    {Check::NoSort, error, "no-sort", "The priority database has no sort."},
    {Check::UnlistedSort, error, "unlisted-sort", "A sort without a type is dropped."},
    {Check::UnlistedApp, error, "unlisted-app",
     "An application without an appName is dropped from its sort."},
    {Check::LoaderLine, error, "loader-line",
     "The loader reports a fault that no other error explains."},
    {Check::ImageCut, warning, "image-cut", "The file ends before its image does."},
    {Check::ImageDamaged, warning, "image-damaged",
     "The compressed stream is damaged; only the text before the damage is loaded."},
    {Check::UnknownElement, warning, "unknown-element",
     "The loader does not know an element and skips it."},
    {Check::MisplacedElement, warning, "misplaced-element",
     "An element is where it does not belong."},
    {Check::RepeatedElement, warning, "repeated-element",
     "An element that may occur once is repeated; the last one counts."},
    {Check::EmptyElement, warning, "empty-element", "An element has no content and is skipped."},
    {Check::StrayText, warning, "stray-text",
     "Text outside the elements that hold text is ignored."},
    {Check::IgnoredAttribute, warning, "ignored-attribute",
     "An element has attributes, which are ignored."},
    {Check::BadNumber, warning, "bad-number",
     "A number has no digits, other characters, or more than 32 bits."},
    {Check::NotUtf8, warning, "not-utf8", "A text is not UTF-8."},
    {Check::NearLimit, warning, "near-limit", "95 percent or more of a limit are used."},
    {Check::MissingVersion, warning, "missing-version", "The database has no version."},
    {Check::MissingName, warning, "missing-name",
     "An application or a type has no name, or an empty one."},
    {Check::VisibleRange, warning, "visible-range", "visible is neither 0 nor 1."},
    {Check::DuplicateAppId, warning, "duplicate-app-id", "Two applications have the same id."},
    {Check::DuplicateTypeId, warning, "duplicate-type-id", "Two types have the same id."},
    {Check::RuleWithoutTuple, warning, "rule-without-tuple",
     "A rule without a tuple matches nothing."},
    {Check::UnusedType, warning, "unused-type", "An application type is used by no application."},
    {Check::AppWithoutRules, warning, "app-without-rules", "An application has no rules."},
    {Check::DuplicateTuple, warning, "duplicate-tuple",
     "A tuple occurs again, with the same signature."},
    {Check::CoveredTuple, warning, "covered-tuple",
     "A tuple matches nothing that another one, with any address or port, does not match."},
    {Check::CatchAllTuple, warning, "catch-all-tuple",
     "A tuple without a signature matches everything of its protocol."},
    {Check::IcmpPort, warning, "icmp-port", "A tuple has a port, but icmp has no ports."},
    {Check::DuplicateKeyword, warning, "duplicate-keyword", "A DNS keyword occurs again."},
    {Check::SegmentRange, warning, "segment-range", "A segment starts behind its end."},
    {Check::NoPattern, warning, "no-pattern", "A signature is enabled, but has no dpiCode."},
    {Check::BadHex, warning, "bad-hex",
     "The dpiCode of a signature of type hex is not pairs of hexadecimal digits."},
    {Check::UnusualDpiType, warning, "unusual-dpi-type",
     "A dpiType occurs once and resembles one that is usual in the database."},
    {Check::PriorityRange, warning, "priority-range",
     "A priority is not in the range 0 to 255; its low 8 bits are used."},
    {Check::UnknownApp, warning, "unknown-app",
     "The application database beside the priority database lacks an application."},
    {Check::JsonUnsafe, warning, "json-unsafe",
     "A signature contains characters that make database.json ill-formed."},
    {Check::UnclearExpiry, warning, "unclear-expiry",
     "The expiry date is not a valid calendar date (YYYY-MM-DD)."},
    {Check::PastExpiry, warning, "past-expiry", "The expiry date is in the past."},
};

constexpr bool isInOrder()
{
    for (size_t i = 0; i < std::size(table); i++) {
        if (table[i].check != static_cast<Check>(i)) {
            return false;
        }
    }
    return table[std::size(table) - 1].check == Check::PastExpiry;
}

static_assert(isInOrder(), "describe looks checks up by their number");

} // namespace

const CheckDescription &describe(Check check)
{
    return table[static_cast<size_t>(check)];
}

std::vector<CheckDescription> allChecks()
{
    return {std::begin(table), std::end(table)};
}

std::string explainCheck(const std::string &name)
{
    const std::string_view page = checkPage;
    const size_t start = page.find("### " + name + "\n");
    const size_t end = std::min(
        {page.find("\n\n### ", start + 1), page.find("\n\n## ", start + 1), page.size() - 1});
    return start != npos ? std::string(page.substr(start, end + 1 - start)) : "";
}

Severities::Severities()
{
    for (const CheckDescription &check : table) {
        severities_.push_back(check.severity);
    }
}

Severity Severities::of(Check check) const
{
    return severities_[static_cast<size_t>(check)];
}

std::string Severities::set(const std::string &assignment)
{
    const size_t equals = assignment.find('=');
    const std::string name = assignment.substr(0, equals);
    const std::string value = equals != std::string::npos ? assignment.substr(equals + 1) : "";
    const auto *const check = std::find_if(std::begin(table), std::end(table),
                                           [&](const auto &row) { return row.name == name; });
    if (check == std::end(table)) {
        return "there is no check " + name;
    }
    const std::pair<const char *, Severity> values[] = {
        {"off", Severity::Off}, {"warning", Severity::Warning}, {"error", Severity::Error}};
    for (const auto &[word, severity] : values) {
        if (value == word) {
            severities_[static_cast<size_t>(check->check)] = severity;
            return "";
        }
    }
    return "must be " + name + "=off, " + name + "=warning or " + name + "=error";
}

void Severities::turnWarningsIntoErrors()
{
    std::replace(severities_.begin(), severities_.end(), Severity::Warning, Severity::Error);
}

} // namespace check
