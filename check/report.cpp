// Findings: where they are, for a person, and the reports of them, as text and as JSON.

#include "check/check_internal.h"
#include "check/output.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <nlohmann/json.hpp>

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

// Does not let bytes of a file steer a terminal.
std::string printable(std::string_view text)
{
    std::string shown(text);
    for (char &byte : shown) {
        const bool isControl = static_cast<unsigned char>(byte) < ' ' || byte == '\x7F';
        byte = isControl && byte != '\t' ? '?' : byte;
    }
    return shown;
}

// Moves at back to the first byte of its character, but not before first.
size_t characterStart(std::string_view text, size_t at, size_t first)
{
    while (at > first && at < text.size() && continuesCharacter(text[at])) {
        at--;
    }
    return at;
}

// Where an offset is, for a person.
struct Location {
    size_t line = 1;
    size_t column = 1;   // in characters; a tab is one
    std::string excerpt; // of the line, as much as is shown
    std::string caret;   // points, printed below the excerpt, at the offset
};

// Finds the locations of offsets of a text, which must be asked for in increasing order.
class LocationFinder
{
public:
    // text must outlive the finder.
    explicit LocationFinder(const std::string &text);
    Location find(size_t offset);

private:
    std::string_view text_;
    size_t at_ = 0;
    size_t lineStart_ = 0;
    size_t line_ = 1;
    size_t column_ = 1;
};

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

const char *nameOf(Severity severity)
{
    return severity == Severity::Error ? "error" : "warning";
}

std::string shownName(Severity severity, bool inColour)
{
    const Colour colour = severity == Severity::Error ? Colour::Red : Colour::Yellow;
    return inColour ? coloured(nameOf(severity), colour) : nameOf(severity);
}

std::string messageOf(const Source &source, const Finding &finding)
{
    return source.database.empty() ? finding.message : source.database + ": " + finding.message;
}

using Visitor =
    std::function<void(const Source &, const Finding &, Severity severity, const Location &)>;

// Visits all findings, those of a text in the order of their parents, and counts them.
void visitFindings(const std::deque<Source> &sources, bool warningsAreErrors, Report &report,
                   const Visitor &visit)
{
    for (const Source &source : sources) {
        std::vector<Finding> findings = source.findings;
        std::stable_sort(findings.begin(), findings.end(),
                         [](const Finding &a, const Finding &b) { return a.offset < b.offset; });
        LocationFinder finder(source.text);
        for (const Finding &finding : findings) {
            const Severity severity =
                warningsAreErrors ? Severity::Error : describe(finding.check).severity;
            (severity == Severity::Error ? report.errors : report.warnings)++;
            visit(source, finding, severity, finder.find(finding.offset));
        }
    }
}

std::string counted(size_t count, const std::string &noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string documentText(const Json &document)
{
    return jsonText(document, 2) + "\n";
}

Json asJson(const CheckDescription &check)
{
    return {
        {"check", check.name}, {"severity", nameOf(check.severity)}, {"sentence", check.sentence}};
}

std::string asLine(const CheckDescription &check)
{
    char columns[40];
    snprintf(columns, sizeof(columns), "%-19s %-8s ", check.name, nameOf(check.severity));
    return columns + std::string(check.sentence) + "\n";
}

} // namespace

void Source::add(Check check, size_t offset, const std::string &message)
{
    findings.push_back({check, std::min(offset, text.size()), printable(message)});
}

bool Source::hasErrors() const
{
    return std::any_of(findings.begin(), findings.end(), [](const Finding &finding) {
        return describe(finding.check).severity == Severity::Error;
    });
}

std::string inQuotes(std::string_view text)
{
    const size_t length = characterStart(text, std::min(text.size(), quotedLength), 0);
    return "'" + std::string(text.substr(0, length)) + (length < text.size() ? "...'" : "'");
}

Report reportAsText(const std::deque<Source> &sources, bool warningsAreErrors, bool inColour)
{
    Report report;
    visitFindings(sources, warningsAreErrors, report,
                  [&report, inColour](const Source &source, const Finding &finding,
                                      Severity severity, const Location &location) {
                      report.text += source.file + ":" + std::to_string(location.line) + ":" +
                                     std::to_string(location.column) + ": " +
                                     shownName(severity, inColour) + ": " +
                                     messageOf(source, finding) + " [" +
                                     describe(finding.check).name + "]\n";
                      if (!source.text.empty()) {
                          report.text += location.excerpt + "\n" + location.caret + "\n";
                      }
                  });
    report.text +=
        counted(report.errors, "error") + ", " + counted(report.warnings, "warning") + "\n";
    return report;
}

Report reportAsJson(const std::deque<Source> &sources, bool warningsAreErrors)
{
    Report report;
    Json findings = Json::array();
    visitFindings(sources, warningsAreErrors, report,
                  [&findings](const Source &source, const Finding &finding, Severity severity,
                              const Location &location) {
                      findings.push_back({{"file", source.file},
                                          {"database", source.database},
                                          {"line", location.line},
                                          {"column", location.column},
                                          {"severity", nameOf(severity)},
                                          {"check", describe(finding.check).name},
                                          {"message", finding.message},
                                          {"source", location.excerpt},
                                          {"caret", source.text.empty() ? "" : location.caret}});
                  });
    report.text = documentText(
        {{"findings", findings}, {"errors", report.errors}, {"warnings", report.warnings}});
    return report;
}

std::string listChecks(bool wantsJson)
{
    Json list = Json::array();
    std::string lines;
    for (const CheckDescription &check : allChecks()) {
        list.push_back(asJson(check));
        lines += asLine(check);
    }
    return wantsJson ? documentText(list) : lines;
}

} // namespace check
