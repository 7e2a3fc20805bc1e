/*
 * The rules of the priority database.
 */
#ifndef TOOL_CHECK_PRIORITY_H
#define TOOL_CHECK_PRIORITY_H

#include "tool/check_document.h"
#include "tool/check_source.h"

#include <cstdint>
#include <set>

namespace tool
{

/*
 * Checks a priority database. appIds are the applications of the application database beside it,
 * null when there is none.
 */
void checkPriorities(const Document &document, const std::set<uint32_t> *appIds, Source &source);

} // namespace tool

#endif
