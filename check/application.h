/*
 * The rules of the application database.
 */
#ifndef CHECK_APPLICATION_H
#define CHECK_APPLICATION_H

#include "check/document.h"
#include "check/source.h"

#include <cstdint>
#include <set>

namespace check
{

/* Checks an application database; returns the ids of its applications. */
std::set<uint32_t> checkApplications(const Document &document, Source &source);

} // namespace check

#endif
