/*
 * Listings as one JSON document, for programs that read them.
 */
#ifndef TOOL_JSON_H
#define TOOL_JSON_H

#include "check/output.h"

namespace tool
{

using check::Json;
using check::jsonText;

/* Writes document, indented and with a line end, to standard output. Throws Failure. */
void printJson(const Json &document);

} // namespace tool

#endif
