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
    // Without the standard streams, valgrind does not start.
    const std::string direct = command.find("&-") != command.npos ? "unset TARN_RUN_BY; " : "";
    setenv("COMMAND", (direct + "PATH=" TARN_PROGRAMS ":$PATH; " + command + "; exit").c_str(), 1);
    return WEXITSTATUS(std::system("bash -o pipefail -c \"$COMMAND\" 2>err >out"));
}

struct ProgramCase {
    const char *command;
    int status = 0;
    std::string output = ""; /* all of it; behind "...", a part */
    std::string errors = ""; /* the same */
};

inline bool matches(const std::string &text, const std::string &expected)
{
    return expected.compare(0, 3, "...") == 0 ? text.find(expected.substr(3)) != std::string::npos
                                              : text == expected;
}

/* Runs the program with the arguments of each case, and what may follow them in a shell. */
template <typename Cases> void expectRuns(const std::string &program, const Cases &cases)
{
    for (const ProgramCase &c : cases) {
        EXPECT_EQ(run(program + c.command), c.status) << c.command;
        EXPECT_TRUE(matches(contents("out"), c.output)) << c.command << "\n" << contents("out");
        EXPECT_TRUE(matches(contents("err"), c.errors)) << c.command << "\n" << contents("err");
    }
}
