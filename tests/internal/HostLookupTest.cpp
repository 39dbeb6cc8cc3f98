// Host lookup for the probes: dotted text needs no resolver traffic, so this stays local.
#include "internal/HostLookup.h"

#include <gtest/gtest.h>

namespace {

// The address in host order; an IPv6 literal resolves, but not to IPv4, and a failure
// leaves the address alone.
TEST(HostLookupTest, DottedTextGivesTheAddressInHostOrder) {
    uint32_t address = 0;
    EXPECT_TRUE(orvik::detail::lookupIpv4Host("192.168.1.2", address) && address == 0xC0A80102u);
    EXPECT_TRUE(orvik::detail::lookupIpv4Host("127.0.0.1", address) && address == 0x7F000001u);
    EXPECT_FALSE(orvik::detail::lookupIpv4Host("::1", address));
    EXPECT_EQ(address, 0x7F000001u);
}

} // namespace
