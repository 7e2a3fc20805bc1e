/*
 * Tuples: PROTOCOL ADDRESS:PORT ADDRESS:PORT.
 */
#ifndef CHECK_TUPLE_H
#define CHECK_TUPLE_H

#include "check/document.h"
#include "check/source.h"

namespace check
{

/* Reports what is wrong with a tuple; returns whether the loader makes a rule of it. */
bool checkTuple(const Document &document, const XmlpNode *node, Source &source);

} // namespace check

#endif
