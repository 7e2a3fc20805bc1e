// Findings as reports: as a compiler prints them, as JSON and as SARIF.

#include "check/check_internal.h"
#include "check/location.h"
#include "check/output.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>
#include <map>
#include <nlohmann/json.hpp>

namespace check
{

namespace
{

// Findings of one check that are reported of a text.
constexpr size_t findingMax = 100;

struct LocatedFinding {
    const Source &source;
    Finding finding;
    Severity severity;
    Location location;
    Location noteLocation; // if it has a note
};

const char *nameOf(Severity severity)
{
    static const char *const names[] = {"error", "warning", "off"};
    return names[static_cast<size_t>(severity)];
}

// The findings of a text in the order of their locations, but for those that are off. Counts them.
void locateFindings(const Source &source, const Severities &severities, Report &report,
                    std::vector<LocatedFinding> &located)
{
    std::vector<Finding> findings = source.findings;
    for (const auto &[check, count] : source.counts) {
        const Severity severity = severities.of(check);
        report.errors += severity == Severity::Error ? count : 0;
        report.warnings += severity == Severity::Warning ? count : 0;
        if (count > findingMax) {
            findings.push_back({check, source.shown().size(),
                                std::to_string(count - findingMax) + " more of this check"});
        }
    }
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding &a, const Finding &b) { return a.offset < b.offset; });
    LocationFinder finder(source.shown());
    for (const Finding &finding : findings) {
        const Severity severity = severities.of(finding.check);
        if (severity != Severity::Off) {
            located.push_back({source, finding, severity, finder.find(finding.offset), {}});
            if (finding.note) {
                located.back().noteLocation =
                    LocationFinder(source.shown()).find(finding.note->offset);
            }
        }
    }
}

std::vector<LocatedFinding> locateFindings(const std::deque<Source> &sources,
                                           const Severities &severities, Report &report)
{
    std::vector<LocatedFinding> located;
    for (const Source &source : sources) {
        locateFindings(source, severities, report, located);
    }
    return located;
}

std::string placeText(const Source &source, const Location &location)
{
    return fmt::format("{}:{}:{}: ", printable(source.file), location.line, location.column);
}

std::string excerptLines(const Source &source, const Location &location)
{
    return source.text.empty() ? "" : location.excerpt + "\n" + location.caret + "\n";
}

std::string messageOf(const LocatedFinding &found)
{
    const std::string &database = found.source.database;
    return (database.empty() ? "" : database + ": ") + found.finding.message;
}

std::string counted(size_t count, const std::string &noun)
{
    return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string documentText(const Json &document)
{
    return jsonText(document, 2) + "\n";
}

// A reference to a file by a relative path, as RFC 3986 has it.
std::string uriOf(const std::string &path)
{
    std::string uri;
    for (const char byte : path) {
        const bool isPlain = isalnum(static_cast<unsigned char>(byte)) != 0 ||
                             std::string_view("-._~/").find(byte) != std::string_view::npos;
        uri += isPlain ? std::string(1, byte)
                       : fmt::format("%{:02X}", static_cast<unsigned char>(byte));
    }
    return uri;
}

// Lines and columns of a text in an image or a container are none of the file.
Json sarifLocation(const Source &source, const Location &location)
{
    Json place = {{"artifactLocation", {{"uri", uriOf(source.file)}}}};
    if (source.database.empty() && !source.text.empty()) {
        place["region"] = {{"startLine", location.line}, {"startColumn", location.column}};
    }
    return {{"physicalLocation", place}};
}

Json sarifResult(const LocatedFinding &found)
{
    Json result = {{"ruleId", describe(found.finding.check).name},
                   {"ruleIndex", static_cast<size_t>(found.finding.check)},
                   {"level", nameOf(found.severity)},
                   {"message", {{"text", messageOf(found)}}},
                   {"locations", {sarifLocation(found.source, found.location)}}};
    if (found.finding.note) {
        Json related = sarifLocation(found.source, found.noteLocation);
        related["message"] = {{"text", found.finding.note->message}};
        result["relatedLocations"] = {related};
    }
    return result;
}

} // namespace

void Source::add(Check check, size_t offset, const std::string &message,
                 const std::optional<Fix> &fix)
{
    std::optional<Fix> shownFix;
    if (fix) {
        const size_t start = shownOffset(fix->offset);
        shownFix = {start, shownOffset(fix->offset + fix->size - 1) + 1 - start, fix->text};
        if (shown().substr(start, shownFix->size) != text.substr(fix->offset, fix->size)) {
            shownFix.reset(); // something else is written in between
        }
    }
    addShown({check, shownOffset(offset), message, {}, shownFix});
}

void Source::addShown(const Finding &finding)
{
    if (!isFull(finding.check)) {
        findings.push_back(finding);
        findings.back().message = printable(finding.message);
    }
    counts[finding.check]++;
}

bool Source::isFull(Check check) const
{
    const auto count = counts.find(check);
    return count != counts.end() && count->second >= findingMax;
}

const std::string &Source::shown() const
{
    return pieces.empty() ? text : original;
}

size_t Source::shownOffset(size_t offset) const
{
    const auto next =
        std::upper_bound(pieces.begin(), pieces.end(), offset,
                         [](size_t value, const Piece &piece) { return value < piece.at; });
    if (next != pieces.begin()) {
        const Piece &piece = *(next - 1);
        offset = piece.from + offset - piece.at;
    }
    return std::min(offset, shown().size());
}

bool Source::hasErrors() const
{
    return std::any_of(findings.begin(), findings.end(), [](const Finding &finding) {
        return describe(finding.check).severity == Severity::Error;
    });
}

Report reportAsText(const std::deque<Source> &sources, const Severities &severities, bool inColour)
{
    Report report;
    for (const LocatedFinding &found : locateFindings(sources, severities, report)) {
        const Colour colour = found.severity == Severity::Error ? Colour::Red : Colour::Yellow;
        const char *const severity = nameOf(found.severity);
        report.text += placeText(found.source, found.location) +
                       (inColour ? coloured(severity, colour) : severity) + ": " +
                       messageOf(found) + " [" + describe(found.finding.check).name + "]\n" +
                       excerptLines(found.source, found.location);
        if (found.finding.note) {
            report.text += placeText(found.source, found.noteLocation) +
                           "note: " + printable(found.finding.note->message) + "\n" +
                           excerptLines(found.source, found.noteLocation);
        }
    }
    report.text +=
        counted(report.errors, "error") + ", " + counted(report.warnings, "warning") + "\n";
    return report;
}

Report reportAsJson(const std::deque<Source> &sources, const Severities &severities)
{
    Report report;
    Json findings = Json::array();
    for (const LocatedFinding &found : locateFindings(sources, severities, report)) {
        const bool hasExcerpt = !found.source.text.empty();
        findings.push_back({{"file", found.source.file},
                            {"database", found.source.database},
                            {"line", found.location.line},
                            {"column", found.location.column},
                            {"severity", nameOf(found.severity)},
                            {"check", describe(found.finding.check).name},
                            {"message", found.finding.message},
                            {"source", found.location.excerpt},
                            {"caret", hasExcerpt ? found.location.caret : ""}});
        if (found.finding.note) {
            findings.back()["note"] = {{"line", found.noteLocation.line},
                                       {"column", found.noteLocation.column},
                                       {"message", printable(found.finding.note->message)}};
        }
    }
    report.text = documentText({{"version", 1},
                                {"findings", findings},
                                {"errors", report.errors},
                                {"warnings", report.warnings}});
    return report;
}

Report reportAsSarif(const std::deque<Source> &sources, const Severities &severities)
{
    Report report;
    Json results = Json::array();
    for (const LocatedFinding &found : locateFindings(sources, severities, report)) {
        results.push_back(sarifResult(found));
    }
    Json rules = Json::array();
    for (const CheckDescription &check : allChecks()) {
        rules.push_back({{"id", check.name},
                         {"shortDescription", {{"text", check.sentence}}},
                         {"help", {{"text", explainCheck(check.name)}}},
                         {"defaultConfiguration", {{"level", nameOf(check.severity)}}}});
    }
    const Json driver = {{"name", "tarn-db-tool"}, {"version", TARN_VERSION}, {"rules", rules}};
    const Json run = {
        {"tool", {{"driver", driver}}}, {"columnKind", "unicodeCodePoints"}, {"results", results}};
    report.text = documentText({{"version", "2.1.0"}, {"runs", {run}}});
    return report;
}

std::string fixedText(const Source &source, const Severities &severities)
{
    std::map<size_t, Fix> fixes;
    for (const Finding &finding : source.findings) {
        if (finding.fix && severities.of(finding.check) != Severity::Off) {
            fixes.emplace(finding.fix->offset, *finding.fix);
        }
    }
    std::string text = source.shown();
    for (auto fix = fixes.rbegin(); fix != fixes.rend(); fix++) {
        text.replace(fix->first, fix->second.size, fix->second.text);
    }
    return text;
}

std::string listChecks(bool wantsJson)
{
    Json list = Json::array();
    std::string lines;
    for (const CheckDescription &check : allChecks()) {
        const char *const severity = nameOf(check.severity);
        list.push_back(
            {{"check", check.name}, {"severity", severity}, {"sentence", check.sentence}});
        lines += fmt::format("{:19} {:8} {}\n", check.name, severity, check.sentence);
    }
    return wantsJson ? documentText(list) : lines;
}

} // namespace check
