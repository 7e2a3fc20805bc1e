// What tarn-db-tool check prints: findings and rules, as text and as JSON.

#include "check/report.h"

#include "check/colour.h"
#include "check/json.h"

#include <algorithm>
#include <cstdio>
#include <functional>

namespace check
{

namespace
{

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
    std::function<void(const Source &, const Finding &, Severity severity, const Place &)>;

// Visits all findings, those of a text in the order of their places, and counts them.
void visitFindings(const std::deque<Source> &sources, bool warningsAreErrors, Report &report,
                   const Visitor &visit)
{
    for (const Source &source : sources) {
        std::vector<Finding> findings = source.findings;
        std::stable_sort(findings.begin(), findings.end(),
                         [](const Finding &a, const Finding &b) { return a.offset < b.offset; });
        PlaceFinder finder(source.text);
        for (const Finding &finding : findings) {
            const Severity severity =
                warningsAreErrors ? Severity::Error : describe(finding.rule).severity;
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

Json asJson(const RuleDescription &rule)
{
    return {{"rule", rule.name}, {"severity", nameOf(rule.severity)}, {"sentence", rule.sentence}};
}

std::string asLine(const RuleDescription &rule)
{
    char columns[40];
    snprintf(columns, sizeof(columns), "%-19s %-8s ", rule.name, nameOf(rule.severity));
    return columns + std::string(rule.sentence) + "\n";
}

} // namespace

Report reportAsText(const std::deque<Source> &sources, bool warningsAreErrors, bool inColour)
{
    Report report;
    visitFindings(sources, warningsAreErrors, report,
                  [&report, inColour](const Source &source, const Finding &finding,
                                      Severity severity, const Place &place) {
                      report.text += source.file + ":" + std::to_string(place.line) + ":" +
                                     std::to_string(place.column) + ": " +
                                     shownName(severity, inColour) + ": " +
                                     messageOf(source, finding) + " [" +
                                     describe(finding.rule).name + "]\n";
                      if (!source.text.empty()) {
                          report.text += place.excerpt + "\n" + place.caret + "\n";
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
                              const Place &place) {
                      findings.push_back({{"file", source.file},
                                          {"database", source.database},
                                          {"line", place.line},
                                          {"column", place.column},
                                          {"severity", nameOf(severity)},
                                          {"rule", describe(finding.rule).name},
                                          {"message", finding.message},
                                          {"source", place.excerpt},
                                          {"caret", source.text.empty() ? "" : place.caret}});
                  });
    report.text = documentText(
        {{"findings", findings}, {"errors", report.errors}, {"warnings", report.warnings}});
    return report;
}

std::string listRules(bool wantsJson)
{
    Json rules = Json::array();
    std::string lines;
    for (const RuleDescription &rule : allRules()) {
        rules.push_back(asJson(rule));
        lines += asLine(rule);
    }
    return wantsJson ? documentText(rules) : lines;
}

} // namespace check
