/*
 * The rules of the application database.
 */
#ifndef TOOL_CHECK_APP_H
#define TOOL_CHECK_APP_H

#include "tool/check_document.h"
#include "tool/check_source.h"

#include <cstdint>
#include <set>

namespace tool
{

/* Checks an application database; returns the ids of its applications. */
std::set<uint32_t> checkApplications(const Document &document, Source &source);

} // namespace tool

#endif
