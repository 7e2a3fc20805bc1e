/*
 * Tuples: PROTOCOL ADDRESS:PORT ADDRESS:PORT.
 */
#ifndef TOOL_CHECK_TUPLE_H
#define TOOL_CHECK_TUPLE_H

#include "tool/check_document.h"
#include "tool/check_source.h"

namespace tool
{

/* Reports what is wrong with a tuple; returns whether the loader makes a rule of it. */
bool checkTuple(const Document &document, const XmlpNode *node, Source &source);

} // namespace tool

#endif
