// libFuzzer target for the address and mask readers: any text is accepted or refused
// without a change, and an accepted address prints back to text that parses to the same
// value.
#include <orvik_utilities/net/IpAddress.h>

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    String text;
    text.concat(reinterpret_cast<char const*>(data), long(size));
    IpAddress ip(0x0A000001u, 0xFFFF0000u);
    IpAddress const before(ip);
    if (ip.setIpAddrAsString(text) != 0) {
        if (ip != before)
            std::abort();
    } else {
        String printed;
        ip.getIpAddrAsString(printed);
        printed.concatf("/%lu", ip.getNetMaskSize());
        IpAddress again;
        if (again.setIpAddrAsString(printed) != 0 || again != ip)
            std::abort();
        ip.isValidAddress();
        ip.contains(before);
    }
    IpAddress mask;
    if (mask.setNetMaskAsString(text) == 0) {
        unsigned long ones = 0;
        if (!mask.isMaskValid(ones) || ones != mask.getNetMaskSize())
            std::abort();
    } else if (!mask.isEmpty()) {
        std::abort();
    }
    return 0;
}
