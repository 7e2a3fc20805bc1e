/*
 * The tables of an image, filled as a device fills them but never sent.
 */
#ifndef CHECK_TABLES_H
#define CHECK_TABLES_H

#include "check/input_file.h"

#include <vector>

namespace check
{

/*
 * Fills the process-wide application tables from an image file; tables of an earlier call are
 * released. No netlink socket is opened. The libraries' diagnostic lines appear on standard
 * error. Throws Failure when the image is damaged or the tables cannot be filled.
 */
void loadApplicationTables(const InputFile &image);

/* The same for the model of the priority database, which has at least one sort then. */
void loadPriorityModel(const InputFile &image);

/* The map of the loaded model: the priority of each application id. */
std::vector<unsigned char> priorityMap();

} // namespace check

#endif
