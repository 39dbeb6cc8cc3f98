// The default run: what this host looks like through the library, on any Linux machine.
#include <orvik_utilities/crypto/Md5HashContext.h>
#include <orvik_utilities/crypto/Sha1HashContext.h>
#include <orvik_utilities/net/IpAddress.h>
#include <orvik_utilities/system/IpInterfaceStatus.h>
#include <orvik_utilities/system/KelvoInformation.h>
#include <orvik_utilities/system/ProcessControl.h>

#include "Tool.h"

#include <net/if.h>

#include <cstdio>

char const* modelName(int model);

int runSummary(int, char**) {
    IpAddress defaultAddress;
    GET_DEFAULT_IP_ADDRESS(defaultAddress);
    String text;
    std::printf("default address: %s\n", defaultAddress.getIpAddrAsString(text).buffer());

    // The library answers per name; the kernel's index gives the names.
    std::printf("interfaces:\n");
    IpInterfaceStatus status;
    struct if_nameindex* names = if_nameindex();
    for (struct if_nameindex* at = names; at != nullptr && at->if_index != 0; ++at) {
        char const* name = at->if_name;
        unsigned int address = status.getIpV4Address(name);
        IpAddress mask(0, status.getIpV4Mask(name));
        std::printf("  %-15s %-4s %s", name, status.isInterfaceUp(name) ? "up" : "down",
                    address != 0 ? tool::dotted(address).buffer() : "-");
        if (address != 0)
            std::printf("/%lu", mask.getNetMaskSize());
        std::printf("\n");
    }
    if (names != nullptr)
        if_freenameindex(names);

    ProcessControl processes;
    processes.refresh(false);
    std::printf("processes: %d\n", processes.getNumberOfProcesses());

    KelvoInformation info;
    info.setup();
    std::printf("model: %s\n", modelName(info.getModel()));

    Md5HashContext md5;
    Sha1HashContext sha1;
    bool md5Passed = md5.test() == 0;
    bool sha1Passed = sha1.test() == 0;
    std::printf("self-test: md5 %s, sha1 %s\n", md5Passed ? "passed" : "FAILED",
                sha1Passed ? "passed" : "FAILED");
    return md5Passed && sha1Passed ? tool::kOk
                                   : tool::fail(tool::kFailed, "hash self-test failed: the library "
                                                               "is broken on this machine");
}
