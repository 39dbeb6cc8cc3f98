// model: the device model and its fitted parts from KelvoInformation.
#include <orvik_utilities/system/KelvoInformation.h>

#include "Tool.h"

#include <cstdio>

namespace {

constexpr char const* kModelNames[] = {"unknown", "TQ5010",  "TQ5320", "TQ5321",
                                       "TQ5630",  "TQ5631",  "TQ5850", "TQ5851",
                                       "TQ5800",  "TQ5800R", "TQ5900", "TQ5900R"};

} // namespace

// Also used by the host summary.
char const* modelName(int model);
char const* modelName(int model) {
    return model >= 0 && model < static_cast<int>(sizeof kModelNames / sizeof kModelNames[0])
               ? kModelNames[model]
               : "unknown";
}

int runModel(int argc, char** argv) {
    if (argc != 1)
        return tool::usage("model", "takes no arguments (got '%s')", argv[1]);
    KelvoInformation info;
    info.setup();
    std::printf("model: %s (%d)\n", modelName(info.getModel()), info.getModel());
    struct Part {
        char const* name;
        int type;
    } const parts[] = {{"wwan", info.getWwanType()},
                       {"wlan", info.getWlanType()},
                       {"gnss", info.getGnssType()},
                       {"ethernet-switch", info.getEthernetSwitchType()},
                       {"usb-host-controller", info.getUsbHostControllerType()}};
    for (Part const& part : parts)
        if (part.type != 0)
            std::printf("%s: %d\n", part.name, part.type);
    return tool::kOk;
}
