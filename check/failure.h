/*
 * The error that ends a subcommand with status 1.
 */
#ifndef CHECK_FAILURE_H
#define CHECK_FAILURE_H

#include <stdexcept>
#include <string>

namespace check
{

/* Reported as "tarn-db-tool: FILE: reason". */
class Failure : public std::runtime_error
{
public:
    Failure(const std::string &file, const std::string &reason)
        : std::runtime_error(file + ": " + reason)
    {
    }
};

} // namespace check

#endif
