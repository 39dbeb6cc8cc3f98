// Makes malloc and the nothrow operator new fail on demand inside the test programs.
#ifndef ORVIK_TESTS_SUPPORT_ALLOCATION_FAILURE_H
#define ORVIK_TESTS_SUPPORT_ALLOCATION_FAILURE_H

#include <cstddef>

namespace orvik_test {

enum class FailureMode { Once, Always };

// Arms a fault: allocations 0 .. nth-1 from now succeed, the nth fails, and with
// FailureMode::Always every later one fails too. Disarmed on destruction.
class AllocationFault {
public:
    AllocationFault(long failingIndex, FailureMode failureMode)
        : nth(failingIndex), mode(failureMode) {}
    ~AllocationFault() { disarm(); }
    AllocationFault(AllocationFault const&) = delete;
    AllocationFault& operator=(AllocationFault const&) = delete;

    void arm();
    // Stops injecting; true when at least one allocation was made to fail while armed.
    bool disarm();

private:
    long nth;
    FailureMode mode;
    bool armed = false;
};

// Allocations made through malloc or the nothrow operator new since the program started.
long allocationCount();
// The byte count of the last successful malloc.
std::size_t lastAllocationSize();

// Runs scenario(fault) with fault set to fail the 0th, 1st, 2nd ... allocation after
// arm(), first once and then always, until a run completes with nothing injected.
// Returns the number of runs in which a failure was injected.
template <typename Scenario> int sweepAllocationFailures(Scenario scenario) {
    int injectedRuns = 0;
    for (FailureMode mode : {FailureMode::Once, FailureMode::Always}) {
        for (long nth = 0;; ++nth) {
            AllocationFault fault(nth, mode);
            bool injected = false;
            scenario(fault, injected);
            if (!injected)
                break;
            ++injectedRuns;
        }
    }
    return injectedRuns;
}

// Counts allocations inside a scope.
class AllocationCounter {
public:
    AllocationCounter() : start(allocationCount()) {}
    long count() const { return allocationCount() - start; }

private:
    long start;
};

} // namespace orvik_test

#endif
