/*
 * Programs run as a user runs them, from a shell.
 */
#ifndef TESTS_PROGRAM_H
#define TESTS_PROGRAM_H

#include "tests/capture.h"

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

/* Makes a new folder the current one. */
inline void enterFolder(const std::string &name)
{
    const std::string folder = testing::TempDir() + name + ".folder";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    std::filesystem::current_path(folder);
}

/* The exit status; what the command prints is in the files out and err. */
inline int run(const std::string &command)
{
    const std::string setting = "exec 2>err >out; PATH=" TARN_PROGRAMS ":$PATH; ";
    return WEXITSTATUS(std::system((setting + command).c_str())); // NOLINT(cert-env33-c)
}

struct ProgramCase {
    const char *command;
    int status;
    const char *output; /* all of it; "beginning...", "...part..." */
    const char *errors; /* a part of them; of an empty one, all */
};

inline bool matches(const std::string &text, const std::string &expected)
{
    const size_t size = expected.size();
    const bool isOpen = size > 3 && expected.substr(size - 3) == "...";
    if (isOpen && expected.substr(0, 3) == "...") {
        return text.find(expected.substr(3, size - 6)) != std::string::npos;
    }
    return isOpen ? text.compare(0, size - 3, expected, 0, size - 3) == 0 : text == expected;
}

/* Runs the program with the arguments of each case, and what may follow them in a shell. */
template <typename Cases> void expectRuns(const std::string &program, const Cases &cases)
{
    for (const ProgramCase &c : cases) {
        EXPECT_EQ(run(program + c.command), c.status) << c.command;
        const std::string output = contents("out");
        const std::string errors = contents("err");
        EXPECT_TRUE(matches(output, c.output)) << c.command << "\n" << output;
        EXPECT_NE(errors.find(c.errors), std::string::npos) << c.command << "\n" << errors;
        EXPECT_EQ(errors.empty(), *c.errors == '\0') << c.command << "\n" << errors;
    }
}

#endif
