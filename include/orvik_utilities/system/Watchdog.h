// Client of the system watchdog service: register, feed, configure and leave it.
#ifndef ORVIK_UTILITIES_SYSTEM_WATCHDOG_H
#define ORVIK_UTILITIES_SYSTEM_WATCHDOG_H

/// @file

#include <orvik_utilities/export.h>

/// Makes the process's client socket (replacing and closing an earlier one) and binds it to
/// "/tmp/.watchdog_api_<name>" after removing a stale file there. 0 when bound; -1 when the
/// bind failed, also for a null name or one above 88 characters (nothing is removed then),
/// leaving a usable unbound socket; the negative socket() result, keeping any earlier socket.
ORVIK_API int kx_watchdog_init(char* name);

/// The same for a read-only name (a string literal): name is only read.
template <typename Text, typename = orvik::detail::IfReadOnly<Text, char>>
inline int kx_watchdog_init(Text name) {
    return kx_watchdog_init(const_cast<char*>(name));
}

extern "C" {

/// Sends a register message (name cut to 63 characters, value passed through unchanged)
/// for pid, 0 meaning the caller; makes the socket with name first when there is none.
/// Returns the pid registered, or 0 when there is no socket or the 76 bytes were not sent.
ORVIK_API int kx_watchdog_register(unsigned int value, int pid, char const* name);

/// Sends a feed message for pid (0: the caller), not checking the send. Returns the pid, or
/// 0 without a socket (it never makes one).
ORVIK_API int kx_watchdog_feed(int pid);

/// Sends a config message, making the socket with name first when there is none.
ORVIK_API void kx_watchdog_config(char const* name);

/// As kx_watchdog_feed with an unregister message; the socket stays open.
ORVIK_API int kx_watchdog_unregister(int pid);
}

#endif
