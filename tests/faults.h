/*
 * Allocations that fail, one after the other, and what stays allocated. Every allocation of the
 * product comes here in a program that links the target faults; one inside of liblzma or of the C
 * library counts as one of the call that makes it.
 */
#ifndef TESTS_FAULTS_H
#define TESTS_FAULTS_H

#include "tests/capture.h"

#include <stdint.h>

#include <map>

namespace faults
{
extern std::map<void *, size_t> &live; /* what is allocated, and its size; 0 for an open file */
extern uint32_t countdown;             /* to the allocation that fails; 0 for none */

/* The sizes of the buffers that were allocated since then, and the number of smaller blocks. */
std::string keptSince(const std::map<void *, size_t> &then);

/*
 * A result with lines each, with " | " between them. One that is equal to that before is left out,
 * and "~" stands for last lines that are equal to those before.
 */
struct List {
    std::string text, last;

    void add(const std::string &item);
};

struct Outcomes {
    List failures;       /* while the first, the second, ... allocation failed */
    std::string success; /* when none did */
    List kept;           /* what stayed allocated each time */
};

/*
 * Runs the operation with one failing allocation after the other: what call returns and prints,
 * then what after returns, which releases as one does after success and failure alike; what is
 * still there then is kept, until release discards it.
 */
template <typename Before, typename Call, typename After, typename Release>
Outcomes outcomesOf(Before before, Call call, After after, Release release)
{
    Outcomes outcomes;
    for (uint32_t failing = 1; failing < 10000; failing++) {
        const std::map<void *, size_t> then = live;
        before();
        std::string outcome;
        bool hasFailed = false;
        testing::internal::CaptureStderr();
        const std::string printed = captured([&] {
            countdown = failing;
            outcome = call();
            hasFailed = countdown == 0;
            countdown = 0;
        });
        outcome += lines(printed + testing::internal::GetCapturedStderr());
        captured([&] { outcome += after(); });
        outcomes.kept.add(keptSince(then));
        captured(release);
        EXPECT_EQ(keptSince(then), "") << outcome;
        if (!hasFailed) {
            outcomes.success = outcome;
            return outcomes;
        }
        outcomes.failures.add(outcome);
    }
    ADD_FAILURE() << "always another allocation";
    return outcomes;
}
} // namespace faults

#endif
