// Retrying a call that a signal interrupted, and only such a call.
#include "internal/RetryAfterSignal.h"

#include <gtest/gtest.h>

#include <sys/types.h>

#include <vector>

namespace {

// A call failing with each errno of the list in turn, then returning its last entry. A
// zero result ends the retries even with EINTR left over: only a negative one is a failure.
struct ScriptedCall {
    std::vector<int> script;
    std::size_t calls = 0;
    ssize_t operator()() {
        if (calls + 1 == script.size())
            return ++calls, script.back();
        errno = script[calls++];
        return -1;
    }
};

TEST(RetryAfterSignalTest, RetriesOnlyInterruptedCalls) {
    struct {
        std::vector<int> script;
        ssize_t result;
        std::size_t calls;
    } const cases[] = {{{EINTR, EINTR, 7}, 7, 3}, {{EAGAIN, EINTR, 7}, -1, 1}, {{0}, 0, 1}};
    for (auto const& c : cases) {
        ScriptedCall call{c.script};
        errno = EINTR;
        EXPECT_EQ(orvik::detail::retryAfterSignal([&] { return call(); }), c.result);
        EXPECT_EQ(call.calls, c.calls);
    }
    EXPECT_EQ(errno, EINTR);
}

} // namespace
