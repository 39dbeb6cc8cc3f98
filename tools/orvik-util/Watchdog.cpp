// watchdog: single messages to the watchdog service, as a daemon's client would send them.
#include <orvik_utilities/system/Watchdog.h>

#include "Tool.h"

#include <cstdio>
#include <cstring>

namespace {

// feed and unregister never make the client socket themselves; this process needs one.
char gClientName[] = "orvik-util";

bool pid(char const* text, int32_t& value) { return tool::parseInt(text, 1, INT32_MAX, value); }

} // namespace

int runWatchdog(int argc, char** argv) {
    char const* action = argc >= 2 ? argv[1] : "";
    int32_t target = 0;
    if (std::strcmp(action, "register") == 0) {
        int32_t value = 0;
        if (argc < 4 || argc > 5)
            return tool::usage("watchdog", "register needs NAME PID [VALUE]");
        if (!pid(argv[3], target))
            return tool::usage("watchdog", "PID '%s' is not a process id", argv[3]);
        if (argc == 5 && !tool::parseInt(argv[4], INT32_MIN, INT32_MAX, value))
            return tool::usage("watchdog", "VALUE '%s' is not a number", argv[4]);
        if (kx_watchdog_register(static_cast<unsigned int>(value), target, argv[2]) == 0)
            return tool::fail(tool::kFailed, "the watchdog service did not take the message: is "
                                             "it running (/tmp/.watchdog_api)?");
        std::printf("registered %d as %s\n", target, argv[2]);
        return tool::kOk;
    }
    if (std::strcmp(action, "config") == 0) {
        if (argc != 3)
            return tool::usage("watchdog", "config needs NAME");
        kx_watchdog_config(argv[2]);
        std::printf("config sent\n");
        return tool::kOk;
    }
    bool feed = std::strcmp(action, "feed") == 0;
    if (!feed && std::strcmp(action, "unregister") != 0)
        return tool::usage("watchdog", "needs register, feed, unregister or config");
    if (argc != 3 || !pid(argv[2], target))
        return tool::usage("watchdog", "%s needs one PID", action);
    // A failed bind still leaves a socket that sends; only a missing socket is an error.
    kx_watchdog_init(gClientName);
    int sent = feed ? kx_watchdog_feed(target) : kx_watchdog_unregister(target);
    if (sent == 0)
        return tool::fail(tool::kFailed, "cannot make a socket for the watchdog service");
    std::printf("%s sent for %d\n", feed ? "feed" : "unregister", sent);
    return tool::kOk;
}
