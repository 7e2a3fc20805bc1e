/*
 * Sealing and unsealing: the two directions of one operation on files.
 */
#ifndef TOOL_SEALING_H
#define TOOL_SEALING_H

#include "tool/command.h"

namespace tool
{

/* Declares the arguments of seal (seal true) or unseal. */
Action setupSealing(CLI::App &arguments, bool seal);

} // namespace tool

#endif
