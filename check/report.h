/*
 * What tarn-db-tool check prints.
 */
#ifndef CHECK_REPORT_H
#define CHECK_REPORT_H

#include "check/source.h"

#include <deque>
#include <string>

namespace check
{

struct Report {
    std::string text;
    size_t errors = 0;
    size_t warnings = 0;
};

/* As a compiler does; warningsAreErrors turns every warning into an error. */
Report reportAsText(const std::deque<Source> &sources, bool warningsAreErrors, bool inColour);

/* The same as one JSON document. */
Report reportAsJson(const std::deque<Source> &sources, bool warningsAreErrors);

/* The rules, one on a line; or as a JSON document. */
std::string listRules(bool wantsJson);

} // namespace check

#endif
