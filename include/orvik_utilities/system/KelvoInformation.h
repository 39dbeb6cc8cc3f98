// The device model and the hardware it carries, from the kernel's system summary.
#ifndef ORVIK_UTILITIES_SYSTEM_KELVO_INFORMATION_H
#define ORVIK_UTILITIES_SYSTEM_KELVO_INFORMATION_H

/// @file

#include <orvik_utilities/export.h>

#include <cstdint>

/// The device model and its parts, each as one of the numbers below (0: unknown or none).
/// Nothing is read until setup(), and the getters answer what the last successful setup()
/// found. Holds no process-wide state.
///
/// @code
/// KelvoInformation device;
/// if (device.setup() && device.getWwanType() != KelvoInformation::WWAN_TYPE_NONE)
///     startModemManager();
/// @endcode
class ORVIK_API KelvoInformation {
public:
    /// Device models, the result of getModel().
    enum {
        MODEL_UNKNOWN = 0,
        MODEL_TQ5010 = 1,
        MODEL_TQ5320 = 2,
        MODEL_TQ5321 = 3,
        MODEL_TQ5630 = 4,
        MODEL_TQ5631 = 5,
        MODEL_TQ5850 = 6,
        MODEL_TQ5851 = 7,
        MODEL_TQ5800 = 8,
        MODEL_TQ5800R = 9,
        MODEL_TQ5900 = 10,
        MODEL_TQ5900R = 11
    };
    /// Mobile (WWAN) modem types, the result of getWwanType().
    enum {
        WWAN_TYPE_NONE = 0,
        WWAN_TYPE_2 = 2,
        WWAN_TYPE_3,
        WWAN_TYPE_4,
        WWAN_TYPE_5,
        WWAN_TYPE_6
    };
    /// Wireless LAN radio types, the result of getWlanType().
    enum { WLAN_TYPE_NONE = 0, WLAN_TYPE_2 = 2 };
    /// Satellite-navigation receiver types, the result of getGnssType().
    enum { GNSS_TYPE_NONE = 0, GNSS_TYPE_2 = 2, GNSS_TYPE_3, GNSS_TYPE_4 };
    /// Ethernet switch types, the result of getEthernetSwitchType().
    enum { ETHERNET_SWITCH_TYPE_NONE = 0, ETHERNET_SWITCH_TYPE_2 = 2 };
    /// USB host controller types, the result of getUsbHostControllerType().
    enum { USB_HOST_CONTROLLER_TYPE_NONE = 0, USB_HOST_CONTROLLER_TYPE_2 = 2 };

    /// Every field 0 (unknown model, no parts).
    KelvoInformation();
    /// Virtual, for derived classes.
    virtual ~KelvoInformation();

    /// Reads the first 999 bytes of "/proc/sysinfo/summary". True when they contain "Product
    /// type": the fields then come from the first known product name anywhere in them, or are
    /// all 0 for none. False, fields unchanged, when the file is missing, empty or unreadable.
    virtual bool setup();
    /// One of the MODEL_ values.
    virtual int getModel() const;
    /// One of the WWAN_TYPE_ values.
    virtual int getWwanType() const;
    /// One of the WLAN_TYPE_ values.
    virtual int getWlanType() const;
    /// One of the GNSS_TYPE_ values.
    virtual int getGnssType() const;
    /// One of the ETHERNET_SWITCH_TYPE_ values.
    virtual int getEthernetSwitchType() const;
    /// One of the USB_HOST_CONTROLLER_TYPE_ values.
    virtual int getUsbHostControllerType() const;

private:
    int32_t model;
    int32_t wwanType;
    int32_t wlanType;
    int32_t gnssType;
    int32_t ethernetSwitchType;
    int32_t usbHostControllerType;
};

#endif
