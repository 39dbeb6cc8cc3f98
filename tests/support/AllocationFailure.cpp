// malloc is wrapped at link time (-Wl,--wrap=malloc), so every malloc made by the
// library objects linked into a test program comes through here; the nothrow and
// ordinary operator new are replaced to go through the same path.
#include "support/AllocationFailure.h"

#include <cstdlib>
#include <new>

extern "C" void* __real_malloc(std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size);

namespace {

struct FaultState {
    bool armed = false;
    bool always = false;
    bool injected = false;
    long countdown = 0;
    long calls = 0;
    std::size_t lastSize = 0;
};

FaultState state;

bool shouldFail() {
    if (!state.armed)
        return false;
    if (state.countdown > 0) {
        --state.countdown;
        return false;
    }
    state.injected = true;
    if (!state.always)
        state.armed = false;
    return true;
}

} // namespace

extern "C" void* __wrap_malloc(std::size_t size) {
    if (shouldFail())
        return nullptr;
    ++state.calls;
    void* block = __real_malloc(size);
    if (block != nullptr)
        state.lastSize = size;
    return block;
}

namespace orvik_test {

void AllocationFault::arm() {
    state.armed = true;
    state.always = mode == FailureMode::Always;
    state.injected = false;
    state.countdown = nth;
    armed = true;
}

bool AllocationFault::disarm() {
    if (!armed)
        return false;
    armed = false;
    state.armed = false;
    bool injected = state.injected;
    state.injected = false;
    return injected;
}

long allocationCount() { return state.calls; }

std::size_t lastAllocationSize() { return state.lastSize; }

} // namespace orvik_test

// Every form of new and delete maps onto malloc and free, so that the sanitizers see
// matching pairs and the library's nothrow allocations can be made to fail.
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return __wrap_malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
    return __wrap_malloc(size == 0 ? 1 : size);
}
void* operator new(std::size_t size) {
    void* block = __real_malloc(size == 0 ? 1 : size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete(void* block, std::nothrow_t const&) noexcept { std::free(block); }
void operator delete[](void* block, std::nothrow_t const&) noexcept { std::free(block); }
