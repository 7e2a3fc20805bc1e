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

/* A run of a program and what must come of it. */
struct ProgramCase {
    const char *arguments; /* and whatever may follow them in a shell */
    int status = 0;
    std::string output = ""; /* the whole output; or, if it begins with "...", a part of it */
    std::string errors = ""; /* the same for the standard error */
};

inline void expectRuns(const std::string &program, const std::vector<ProgramCase> &cases)
{
    for (const ProgramCase &c : cases) {
        const std::string command = program + " " + c.arguments;
        EXPECT_EQ(run(command), c.status) << command << "\n" << contents("err");
        for (const auto &[file, expected] : {std::pair("out", c.output), {"err", c.errors}}) {
            const std::string text = contents(file);
            const bool isPart = expected.compare(0, 3, "...") == 0;
            EXPECT_TRUE(isPart ? text.find(expected.substr(3)) != text.npos : text == expected)
                << command << "\nprinted in " << file << ":\n"
                << text;
        }
    }
}
