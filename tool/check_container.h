/*
 * Update containers and the database files in them.
 */
#ifndef TOOL_CHECK_CONTAINER_H
#define TOOL_CHECK_CONTAINER_H

#include "tool/check_source.h"
#include "tool/file.h"

#include <deque>
#include <string>

namespace tool
{

/* Whether the file begins with the digest of a container. */
bool hasContainerDigest(const std::string &file);

/* Whether, whatever the digest, the file is divided as a container is. */
bool hasContainerStructure(const std::string &file);

/* Checks a container with the databases in it. */
void checkContainerFile(const InputFile &file, std::deque<Source> &sources);

} // namespace tool

#endif
