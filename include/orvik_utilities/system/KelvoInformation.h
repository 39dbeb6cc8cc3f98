// The device model and the hardware it carries, from the kernel's system summary.
#ifndef ORVIK_UTILITIES_SYSTEM_KELVO_INFORMATION_H
#define ORVIK_UTILITIES_SYSTEM_KELVO_INFORMATION_H

#include <orvik_utilities/export.h>

#include <cstdint>

class ORVIK_API KelvoInformation {
public:
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
    enum {
        WWAN_TYPE_NONE = 0,
        WWAN_TYPE_2 = 2,
        WWAN_TYPE_3,
        WWAN_TYPE_4,
        WWAN_TYPE_5,
        WWAN_TYPE_6
    };
    enum { WLAN_TYPE_NONE = 0, WLAN_TYPE_2 = 2 };
    enum { GNSS_TYPE_NONE = 0, GNSS_TYPE_2 = 2, GNSS_TYPE_3, GNSS_TYPE_4 };
    enum { ETHERNET_SWITCH_TYPE_NONE = 0, ETHERNET_SWITCH_TYPE_2 = 2 };
    enum { USB_HOST_CONTROLLER_TYPE_NONE = 0, USB_HOST_CONTROLLER_TYPE_2 = 2 };

    /// Every field 0 (unknown model, no parts).
    KelvoInformation();
    virtual ~KelvoInformation();

    /// Reads the first 999 bytes of "/proc/sysinfo/summary". True when they contain "Product
    /// type": the fields then come from the first known product name anywhere in them, or are
    /// all 0 for none. False, fields unchanged, when the file is missing, empty or unreadable.
    virtual bool setup();
    virtual int getModel() const;
    virtual int getWwanType() const;
    virtual int getWlanType() const;
    virtual int getGnssType() const;
    virtual int getEthernetSwitchType() const;
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
