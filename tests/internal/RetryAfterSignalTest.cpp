// Retrying a call that a signal interrupted, and only such a call.
#include "internal/RetryAfterSignal.h"

#include <gtest/gtest.h>

#include <sys/types.h>

#include <cerrno>

namespace {

using orvik::detail::retryAfterSignal;

// A call that fails with the given errno values in turn, then returns 7.
struct ScriptedCall {
    int const* errors;
    int count;
    int calls = 0;

    ssize_t operator()() {
        if (calls < count) {
            errno = errors[calls++];
            return -1;
        }
        ++calls;
        return 7;
    }
};

TEST(RetryAfterSignalTest, RetriesOnlyInterruptedCalls) {
    int const interrupted[] = {EINTR, EINTR};
    ScriptedCall twice{interrupted, 2};
    EXPECT_EQ(retryAfterSignal([&] { return twice(); }), 7);
    EXPECT_EQ(twice.calls, 3);

    int const refused[] = {EAGAIN, EINTR};
    ScriptedCall again{refused, 2};
    EXPECT_EQ(retryAfterSignal([&] { return again(); }), -1);
    EXPECT_EQ(again.calls, 1);
    EXPECT_EQ(errno, EAGAIN);
}

TEST(RetryAfterSignalTest, ZeroAndShortResultsAreReturnedAsTheyAre) {
    int calls = 0;
    errno = EINTR; // left over from an earlier call: only a negative result is a failure
    EXPECT_EQ(retryAfterSignal([&] { return ++calls, ssize_t{0}; }), 0);
    EXPECT_EQ(calls, 1);
}

} // namespace
