// The front-panel LEDs and signal bars, driven through the kernel's LED event file.
#include <orvik_utilities/system/LedControl.h>

#include "system/LedEvent.h"

#include <cstdio>
#include <cstring>
#include <limits>

namespace {

constexpr char kEventFile[] = "/sys/devices/system/leds/leds0/event";
constexpr int kBarLeds = 4;

// long is 32 bits on the device; a 64-bit host clamps instead of truncating.
int32_t toReading(long rssi) {
    if (rssi < std::numeric_limits<int32_t>::min())
        return std::numeric_limits<int32_t>::min();
    if (rssi > std::numeric_limits<int32_t>::max())
        return std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(rssi);
}

// All four LEDs are written on every change, also those that keep their state.
void showBar(LedControl& leds, int lit) {
    for (int i = 0; i < kBarLeds; ++i)
        leds.setLed(static_cast<LedName>(LED_SIG0 + i), i < lit ? LED_ON : LED_OFF);
}

} // namespace

// Process-wide so that every object of every daemon thread shows one bar per radio.
int32_t LedControl::lastWwanRssi = 0;
int32_t LedControl::lastWlanRssi = 0;

LedControl::LedControl() = default;
LedControl::~LedControl() = default;

int LedControl::setLed(LedName led, LedState state) {
    char line[orvik::detail::kLedEventSize];
    int const result = orvik::detail::formatLedEvent(line, led, state);
    if (result != 0)
        return result;
    // The kernel takes one event per open, so the file is opened anew for every line.
    std::FILE* file = std::fopen(kEventFile, "w");
    if (file == nullptr)
        return -3;
    std::size_t const length = std::strlen(line);
    bool written = std::fwrite(line, 1, length, file) == length;
    // The line sits in the stdio buffer until the close, where the kernel may refuse it.
    written = std::fclose(file) == 0 && written;
    return written ? 0 : -4;
}

void LedControl::displayWwanRssi(long rssi) {
    int32_t const reading = toReading(rssi);
    if (reading == lastWwanRssi)
        return;
    showBar(*this, orvik::detail::wwanSegments(reading));
    lastWwanRssi = reading;
}

void LedControl::displayWlanRssi(long rssi) {
    int32_t const reading = toReading(rssi);
    // Readings jitter by a dB or two; skipping them keeps the bar from flickering.
    int64_t const change = int64_t{reading} - lastWlanRssi;
    if (change >= -2 && change <= 2)
        return;
    showBar(*this, orvik::detail::wlanSegments(reading));
    lastWlanRssi = reading;
}
