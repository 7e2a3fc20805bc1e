/*
 * The application tables of an image, filled as the loader fills them but never sent.
 */
#ifndef TOOL_TABLES_H
#define TOOL_TABLES_H

#include "tool/file.h"

namespace tool
{

/*
 * Fills the process-wide application tables from an image file; tables of an earlier call are
 * released. No netlink socket is opened. The libraries' diagnostic lines appear on standard
 * error. Throws Failure when the image is damaged or the tables cannot be filled.
 */
void loadApplicationTables(const InputFile &image);

} // namespace tool

#endif
