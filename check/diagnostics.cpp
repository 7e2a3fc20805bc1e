// Sending the libraries' diagnostic lines elsewhere.

#include "check/diagnostics.h"

#include "check/failure.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace check
{

RedirectedDiagnostics::RedirectedDiagnostics(int descriptor) : standardOutput_(dup(STDOUT_FILENO))
{
    fflush(stdout);
    const bool redirected = standardOutput_ >= 0 && dup2(descriptor, STDOUT_FILENO) >= 0;
    const std::string reason = std::strerror(errno);
    if (descriptor > STDERR_FILENO) {
        close(descriptor);
    }
    if (!redirected) {
        throw Failure("standard output", reason);
    }
}

RedirectedDiagnostics::~RedirectedDiagnostics()
{
    fflush(stdout);
    dup2(standardOutput_, STDOUT_FILENO);
    close(standardOutput_);
}

DiagnosticsOnStandardError::DiagnosticsOnStandardError() : RedirectedDiagnostics(STDERR_FILENO) {}

DiscardedDiagnostics::DiscardedDiagnostics()
    : RedirectedDiagnostics(open("/dev/null", O_WRONLY | O_CLOEXEC))
{
}

} // namespace check
