// LED event lines and the readings at which each signal-bar segment lights.
#include "system/LedEvent.h"

#include <cstdio>

namespace orvik {
namespace detail {

namespace {

constexpr char const* kLedTexts[] = {"pwr", "ready", "sig0", "sig1", "sig2", "sig3",
                                     "gsm", "wlan",  "vpn",  "gps",  "onbrd"};
constexpr char const* kStateTexts[] = {"off", "on", "slow", "fast"};
constexpr int kLedCount = sizeof kLedTexts / sizeof kLedTexts[0];
constexpr int kStateCount = sizeof kStateTexts / sizeof kStateTexts[0];

// The lowest reading that lights 1, 2, 3 and 4 segments.
constexpr int32_t kWwanSteps[] = {-110, -97, -81, -63};
constexpr int32_t kWlanSteps[] = {-90, -80, -70, -60};

int segments(int32_t rssi, int32_t const (&steps)[4]) {
    int lit = 0;
    for (int32_t step : steps)
        lit += rssi >= step ? 1 : 0;
    return lit;
}

} // namespace

int formatLedEvent(char (&line)[kLedEventSize], int led, int state) {
    if (state < 0 || state >= kStateCount)
        return -2;
    if (led < 0 || led >= kLedCount)
        return -1;
    std::snprintf(line, sizeof line, "%s %s", kLedTexts[led], kStateTexts[state]);
    return 0;
}

int wwanSegments(int32_t rssi) { return segments(rssi, kWwanSteps); }
int wlanSegments(int32_t rssi) { return segments(rssi, kWlanSteps); }

} // namespace detail
} // namespace orvik
