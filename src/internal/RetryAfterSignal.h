// Repeats a system call that a signal interrupted before it did anything.
#ifndef ORVIK_UTILITIES_INTERNAL_RETRY_AFTER_SIGNAL_H
#define ORVIK_UTILITIES_INTERNAL_RETRY_AFTER_SIGNAL_H

#include <cerrno>

namespace orvik {
namespace detail {

// call() returns a negative value with errno set on failure (read, write, sendto, ...).
// A host program may install handlers without SA_RESTART, and such a call then fails
// with EINTR although nothing went wrong.
template <typename Call> auto retryAfterSignal(Call call) -> decltype(call()) {
    decltype(call()) result;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

} // namespace detail
} // namespace orvik

#endif
