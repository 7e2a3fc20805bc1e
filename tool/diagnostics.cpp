// Sending the libraries' diagnostic lines to standard error.

#include "tool/diagnostics.h"

#include "tool/failure.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace tool
{

DiagnosticsOnStandardError::DiagnosticsOnStandardError() : standardOutput_(-1)
{
    fflush(stdout);
    standardOutput_ = dup(STDOUT_FILENO);
    if (standardOutput_ < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        throw Failure("standard output", std::strerror(errno));
    }
}

DiagnosticsOnStandardError::~DiagnosticsOnStandardError()
{
    fflush(stdout);
    dup2(standardOutput_, STDOUT_FILENO);
    close(standardOutput_);
}

} // namespace tool
