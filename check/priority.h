/*
 * The rules of the priority database.
 */
#ifndef CHECK_PRIORITY_H
#define CHECK_PRIORITY_H

#include "check/document.h"
#include "check/source.h"

#include <cstdint>
#include <set>

namespace check
{

/*
 * Checks a priority database. appIds are the applications of the application database beside it,
 * null when there is none.
 */
void checkPriorities(const Document &document, const std::set<uint32_t> *appIds, Source &source);

} // namespace check

#endif
