// Device cost of NumberBag: giving a number back and taking the lowest free one, with
// 60,000 of 65,536 numbers taken, against a std::set free list doing the same.
#include <orvik_utilities/containers/NumberBag.h>

#include "ProbeMain.h"

#include <cstdint>
#include <set>

namespace {

volatile uint32_t sink;

constexpr uint32_t kNumbers = 65536;
constexpr uint32_t kTaken = 60000;

// The number given back walks the taken ones evenly; one period is 100 repetitions, the
// difference armcount takes between its two runs, so every count covers the same work.
uint32_t givenBack(unsigned long i) { return static_cast<uint32_t>(i % 100) * (kTaken / 100); }

void numberBag(unsigned long n) {
    NumberBag bag(0, kNumbers - 1);
    // Taken by value: a lowest-first fill would cost the set-up far more than the runs.
    for (uint32_t v = 0; v < kTaken; ++v)
        bag.getNumber(static_cast<unsigned long>(v));
    unsigned long number = 0;
    for (unsigned long i = 0; i < n; ++i) {
        bag.returnNumber(givenBack(i));
        bag.getNumber(&number);
        sink = static_cast<uint32_t>(number);
    }
}

void setFreeList(unsigned long n) {
    std::set<uint32_t> free;
    for (uint32_t v = kTaken; v < kNumbers; ++v)
        free.insert(free.end(), v);
    for (unsigned long i = 0; i < n; ++i) {
        free.insert(givenBack(i));
        auto const lowest = free.begin();
        sink = *lowest;
        free.erase(lowest);
    }
}

ProbeCase const kCases[] = {
    {"numberbag_return_get", "set_return_get",
     "NumberBag returnNumber + lowest-first getNumber, 60,000 of 65,536 taken", numberBag},
    {"set_return_get", "-", "std::set free list insert + take lowest", setFreeList},
};

} // namespace

int main(int argc, char** argv) { return probeMain(argc, argv, kCases); }
