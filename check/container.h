/*
 * Update containers and the database files in them.
 */
#ifndef CHECK_CONTAINER_H
#define CHECK_CONTAINER_H

#include "check/input_file.h"
#include "check/source.h"

#include <deque>
#include <string>

namespace check
{

/* Whether the file begins with the digest of a container. */
bool hasContainerDigest(const std::string &file);

/* Whether, whatever the digest, the file is divided as a container is. */
bool hasContainerStructure(const std::string &file);

/* Checks a container with the databases in it. */
void checkContainerFile(const InputFile &file, std::deque<Source> &sources);

} // namespace check

#endif
