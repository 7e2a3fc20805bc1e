#ifndef TESTS_CAPTURE_H
#define TESTS_CAPTURE_H

#include <gtest/gtest.h>
#include <pthread.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>

/* What action prints on standard output. */
template <typename Action> std::string captured(Action action)
{
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

/* The same for an action that runs on a stack of 256 KiB. */
template <typename Action> std::string capturedOnSmallStack(Action action)
{
    return captured([&] {
        const auto run = [](void *call) -> void * {
            return (*static_cast<Action *>(call))(), call;
        };
        pthread_t thread;
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, 256 * 1024);
        ASSERT_EQ(pthread_create(&thread, &attributes, run, &action), 0);
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&attributes);
    });
}

/*
 * What is printed: each diagnostic as "; function:line text", without the module's name; any other
 * line as "; line"; "!" for "malloc failed.".
 */
inline std::string lines(const std::string &printed)
{
    static const std::regex diagnostic("\\[(?:ERROR|Error|apppri_db_error)\\][\\[(](_?)(?:xmlp_|"
                                       "appmngr_|apppri_)?(\\w+)(?:\\(\\):|\\) )(\\d+)\\]?: ");
    std::istringstream stream(std::regex_replace(printed, diagnostic, "\n$1$2:$3 "));
    std::string text;
    for (std::string line; std::getline(stream, line);) {
        line = line.substr(0, line.find('\r'));
        text += line.empty() ? "" : "; " + line;
    }
    return std::regex_replace(text, std::regex(" malloc failed\\."), "!");
}

/* All bytes of a file. */
inline std::string contents(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

#endif
