/*
 * Programs run as a user runs them, from a shell.
 */
#pragma once

#include "tests/capture.h"

/*
 * The exit status, of a pipeline the last that is not 0; above 128 for a program that crashed. What
 * the command prints is in the files out and err.
 */
inline int run(const std::string &command)
{
    /* Without the standard streams, valgrind does not start. */
    const std::string direct = command.find("&-") != command.npos ? "unset TARN_RUN_BY; " : "";
    setenv("COMMAND", (direct + "PATH=" TARN_PROGRAMS ":$PATH; " + command + "; exit").c_str(), 1);
    return WEXITSTATUS(std::system("bash -o pipefail -c \"$COMMAND\" 2>err >out"));
}

/* The exit status of a command, what it prints, and what it reports as errors. */
inline std::string outcomeOf(const std::string &command)
{
    const std::string status = std::to_string(run(command));
    const std::string output = inOneLine(contents("out")), errors = inOneLine(contents("err"));
    return status + (output.empty() ? "" : " prints " + output) +
           (errors.empty() ? "" : " reports " + errors);
}
