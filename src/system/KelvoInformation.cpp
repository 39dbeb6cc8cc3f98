// The device model and the hardware it carries, read once from the system summary.
#include <orvik_utilities/system/KelvoInformation.h>

#include "system/ProductTable.h"

#include <cstdio>

namespace {
constexpr char kSummaryFile[] = "/proc/sysinfo/summary";
constexpr std::size_t kSummaryLimit = 999; // the product type sits near the top
} // namespace

KelvoInformation::KelvoInformation()
    : model(0), wwanType(0), wlanType(0), gnssType(0), ethernetSwitchType(0),
      usbHostControllerType(0) {}

KelvoInformation::~KelvoInformation() = default;

bool KelvoInformation::setup() {
    std::FILE* file = std::fopen(kSummaryFile, "r");
    if (file == nullptr)
        return false;
    char summary[kSummaryLimit + 1];
    std::size_t const length = std::fread(summary, 1, kSummaryLimit, file);
    std::fclose(file);
    summary[length] = '\0';
    orvik::detail::ProductRow row;
    if (!orvik::detail::productFromSummary(summary, &row))
        return false;
    model = row.model;
    wwanType = row.wwanType;
    wlanType = row.wlanType;
    gnssType = row.gnssType;
    ethernetSwitchType = row.ethernetSwitchType;
    usbHostControllerType = row.usbHostControllerType;
    return true;
}

int KelvoInformation::getModel() const { return model; }
int KelvoInformation::getWwanType() const { return wwanType; }
int KelvoInformation::getWlanType() const { return wlanType; }
int KelvoInformation::getGnssType() const { return gnssType; }
int KelvoInformation::getEthernetSwitchType() const { return ethernetSwitchType; }
int KelvoInformation::getUsbHostControllerType() const { return usbHostControllerType; }
