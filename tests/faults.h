/*
 * Allocations that fail, one after the other, and what stays allocated. Every allocation of the
 * product, and those of its LZMA decoder, come here in a program that links the target faults.
 */
#pragma once

#include "tests/capture.h"

namespace faults
{
extern std::set<void *> &live; /* what is allocated */
extern uint32_t countdown;     /* to the allocation that fails; 0 for none */

struct Outcomes {
    /* While the first, the second, ... allocation failed, with " | " between different ones. */
    std::string failures;
    std::string success; /* when none failed */
    size_t kept = 0;     /* the most blocks that stayed allocated until release */
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
    std::string last;
    for (uint32_t failing = 1; outcomes.success.empty(); failing++) {
        const size_t then = live.size();
        before();
        std::string outcome;
        bool hasFailed = false;
        const std::string printed = captured([&] {
            countdown = failing;
            outcome = call();
            hasFailed = countdown == 0;
            countdown = 0;
        });
        outcome += lines(printed);
        captured([&] { outcome += after(); });
        outcomes.kept = std::max(outcomes.kept, live.size() - then);
        captured(release);
        EXPECT_EQ(live.size(), then) << outcome;
        if (!hasFailed) {
            outcomes.success = outcome;
        } else if (outcome != last) {
            outcomes.failures += (last.empty() ? "" : " | ") + outcome;
            last = outcome;
        }
    }
    return outcomes;
}
} // namespace faults
