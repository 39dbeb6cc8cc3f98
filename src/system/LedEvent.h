// LED event lines and the signal-bar thresholds.
#ifndef ORVIK_UTILITIES_SYSTEM_LED_EVENT_H
#define ORVIK_UTILITIES_SYSTEM_LED_EVENT_H

#include <cstddef>
#include <cstdint>

namespace orvik {
namespace detail {

constexpr std::size_t kLedEventSize = 32; // 31 characters and the terminator

// "<led> <state>" into line; 0, or -1 for an unknown led, -2 for an unknown state (which
// wins). line is written only on 0.
int formatLedEvent(char (&line)[kLedEventSize], int led, int state);

// Segments (0..4) of the signal bar for a reading in dBm.
int wwanSegments(int32_t rssi);
int wlanSegments(int32_t rssi);

} // namespace detail
} // namespace orvik

#endif
