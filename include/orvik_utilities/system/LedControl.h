// Front-panel LEDs through the kernel's LED event file, and the four-LED signal bar.
#ifndef ORVIK_UTILITIES_SYSTEM_LED_CONTROL_H
#define ORVIK_UTILITIES_SYSTEM_LED_CONTROL_H

/// @file

#include <orvik_utilities/export.h>

#include <cstdint>

/// The front-panel LEDs, by their number in the LED event file.
enum LedName : int {
    LED_PWR = 0,
    LED_READY = 1,
    LED_SIG0 = 2,
    LED_SIG1 = 3,
    LED_SIG2 = 4,
    LED_SIG3 = 5,
    LED_GSM = 6,
    LED_WLAN = 7,
    LED_VPN = 8,
    LED_GPS = 9,
    LED_ONBRD = 10
};

/// What an LED shows: off, on, slow or fast blinking.
enum LedState : int { LED_OFF = 0, LED_ON = 1, LED_SLOW = 2, LED_FAST = 3 };

/// Stateless; the last reading shown per radio is shared by every object in the process
/// (process-wide, unlocked: show readings from one thread).
class ORVIK_API LedControl {
public:
    /// Holds nothing.
    LedControl();
    /// Virtual, for derived classes.
    virtual ~LedControl();

    /// Writes "<led> <state>" to "/sys/devices/system/leds/leds0/event". 0 written; -1 led not
    /// 0..10; -2 state not 0..3 (wins over -1); -3 the file could not be opened; -4 the
    /// write or its flush at close failed (a missing or read-only file gives -3, not -4).
    virtual int setLed(LedName led, LedState state);
    /// Shows a WWAN reading (dBm) as 0..4 segments on LED_SIG0..LED_SIG3 unless it equals the
    /// last one shown; the reading is recorded even when writing fails. Readings beyond the
    /// 32-bit range are clamped into it.
    virtual void displayWwanRssi(long rssi);
    /// As displayWwanRssi for the wireless LAN, skipping readings within 2 of the last one
    /// (the difference is taken exactly, without wrapping).
    virtual void displayWlanRssi(long rssi);

private:
    static int32_t lastWwanRssi;
    static int32_t lastWlanRssi;
};

#endif
