// Host lookup for the probes: dotted text needs no resolver traffic, so this stays local.
#include "internal/HostLookup.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

TEST(HostLookupTest, DottedTextGivesTheAddressInHostOrder) {
    uint32_t address = 0;
    ASSERT_TRUE(orvik::detail::lookupIpv4Host("192.168.1.2", address));
    EXPECT_EQ(address, 0xC0A80102u);
    ASSERT_TRUE(orvik::detail::lookupIpv4Host("127.0.0.1", address));
    EXPECT_EQ(address, 0x7F000001u);
}

TEST(HostLookupTest, FailureLeavesTheAddressAlone) {
    uint32_t address = 0x01020304;
    // An IPv6 literal resolves, but not to IPv4.
    EXPECT_FALSE(orvik::detail::lookupIpv4Host("::1", address));
    EXPECT_EQ(address, 0x01020304u);
}

} // namespace
