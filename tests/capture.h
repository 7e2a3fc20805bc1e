#ifndef TESTS_CAPTURE_H
#define TESTS_CAPTURE_H

#include <gtest/gtest.h>

#include <string>

/* What action prints on standard output. */
template <typename Action> std::string captured(Action action)
{
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

#endif
