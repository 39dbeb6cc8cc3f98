// led, rssi: the front-panel LEDs and the signal bar through LedControl.
#include <orvik_utilities/system/LedControl.h>

#include "Tool.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr char const* kEventFile = "/sys/devices/system/leds/leds0/event";
constexpr char const* kLedNames[] = {"pwr", "ready", "sig0", "sig1", "sig2", "sig3",
                                     "gsm", "wlan",  "vpn",  "gps",  "onbrd"};
constexpr char const* kStateNames[] = {"off", "on", "slow", "fast"};

template <std::size_t N> int lookup(char const* const (&names)[N], char const* text) {
    for (std::size_t i = 0; i < N; ++i)
        if (std::strcmp(names[i], text) == 0)
            return static_cast<int>(i);
    return -1;
}

int explain(int result) {
    int error = errno;
    if (result == -3)
        return tool::fail(tool::kFailed,
                          "cannot open %s: %s: is the LED driver loaded, are you "
                          "root?",
                          kEventFile, std::strerror(error));
    return tool::fail(tool::kFailed, "cannot write %s: %s", kEventFile, std::strerror(error));
}

// The signal bar sets its LEDs through the virtual setLed; this shows each one and keeps the
// first failure.
class ShowingLeds : public LedControl {
public:
    int setLed(LedName led, LedState state) override {
        errno = 0;
        int result = LedControl::setLed(led, state);
        if (result == 0)
            std::printf("%s %s\n", kLedNames[led], kStateNames[state]);
        else if (firstFailure == 0)
            firstFailure = result;
        ++calls;
        return result;
    }
    int firstFailure = 0;
    int calls = 0;
};

} // namespace

int runLed(int argc, char** argv) {
    if (argc != 3)
        return tool::usage("led", "needs NAME STATE");
    int led = lookup(kLedNames, argv[1]);
    int state = lookup(kStateNames, argv[2]);
    if (led < 0)
        return tool::usage("led", "unknown LED '%s'", argv[1]);
    if (state < 0)
        return tool::usage("led", "unknown state '%s': off, on, slow or fast", argv[2]);
    LedControl leds;
    int result = leds.setLed(static_cast<LedName>(led), static_cast<LedState>(state));
    return result == 0 ? tool::kOk : explain(result);
}

int runRssi(int argc, char** argv) {
    int32_t reading = 0;
    if (argc != 3 || (std::strcmp(argv[1], "wwan") != 0 && std::strcmp(argv[1], "wlan") != 0))
        return tool::usage("rssi", "needs wwan|wlan DBM");
    if (!tool::parseInt(argv[2], INT32_MIN, INT32_MAX, reading))
        return tool::usage("rssi", "reading '%s' is not a whole number of dBm", argv[2]);
    ShowingLeds leds;
    if (argv[1][1] == 'w')
        leds.displayWwanRssi(reading);
    else
        leds.displayWlanRssi(reading);
    if (leds.firstFailure != 0)
        return explain(leds.firstFailure);
    if (leds.calls == 0)
        std::printf("unchanged\n");
    return tool::kOk;
}
