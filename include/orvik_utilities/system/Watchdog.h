// Client of the system watchdog service: register, feed, configure and leave it.
#ifndef ORVIK_UTILITIES_SYSTEM_WATCHDOG_H
#define ORVIK_UTILITIES_SYSTEM_WATCHDOG_H

/// @file

#include <orvik_utilities/export.h>

/// Process-wide state: one client socket per process, shared by every caller, made by the
/// first kx_watchdog_init, kx_watchdog_register or kx_watchdog_config and never closed; its
/// file "/tmp/.watchdog_api_<name>" stays after exit until the next start under that name
/// removes it. Unlocked: make it from one thread before others feed. Nothing is received
/// from the service and nothing is logged.
///
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

/// Sends a register message (name cut to 63 characters; value passed through unchanged, its
/// meaning is the watchdog service's)
/// for pid, 0 meaning the caller; makes the socket with name first when there is none.
/// Returns the pid registered, or 0 when there is no socket or the 76 bytes were not sent.
ORVIK_API int kx_watchdog_register(unsigned int value, int pid, char const* name);

/// Sends a feed message for pid (0: the caller). Returns the pid, or 0 without a socket (it
/// never makes one): a send that fails (no service listening, a full queue) is not
/// reported.
///
/// @code
/// kx_watchdog_register(30, 0, "dnsd");           // 0: not registered (no service)
/// while (running) {
///     work();
///     kx_watchdog_feed(0);
/// }
/// kx_watchdog_unregister(0);
/// @endcode
ORVIK_API int kx_watchdog_feed(int pid);

/// Sends a config message, making the socket with name first when there is none; a
/// failed send is not reported.
ORVIK_API void kx_watchdog_config(char const* name);

/// As kx_watchdog_feed with an unregister message (a lost send is not reported either);
/// the socket and its file stay.
ORVIK_API int kx_watchdog_unregister(int pid);
}

#endif
