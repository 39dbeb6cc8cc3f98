// GET_DEFAULT_IP_ADDRESS in private network namespaces whose interfaces the test makes, so
// the answer is known. Needs root; skips otherwise.
#include <orvik_utilities/net/IpAddress.h>

#include "support/Sandbox.h"

#include <gtest/gtest.h>

#include <net/if.h>

#include <string>

namespace {

std::string defaultAddress(char const* start = "9.9.9.9/12") {
    IpAddress ip{String(start)};
    GET_DEFAULT_IP_ADDRESS(ip);
    // The mask is never touched.
    EXPECT_EQ(ip.getNetMaskSize(), 12u);
    String s;
    ip.getIpAddrAsString(s);
    return s.buffer();
}

TEST(DefaultIpAddressEnvTest, LoopbackWhenNoInterfaceHasAnAddress) {
    ORVIK_ENTER_NETWORK_NAMESPACE(ns);
    // Only lo, down and without address.
    EXPECT_EQ(defaultAddress(), "127.0.0.1");
    ASSERT_TRUE(ns.addVethPair("va", "vb")) << ns.error();
    EXPECT_EQ(defaultAddress(), "127.0.0.1");
    // An empty object becomes IPv4 with the full mask.
    IpAddress empty;
    GET_DEFAULT_IP_ADDRESS(empty);
    EXPECT_EQ(empty.getV4IpAddrAsBinaryUInt32(), 0x7F000001u);
    EXPECT_EQ(empty.getNetMaskSize(), 32u);
}

TEST(DefaultIpAddressEnvTest, HighestIndexWithAnAddressWins) {
    ORVIK_ENTER_NETWORK_NAMESPACE(ns);
    ASSERT_TRUE(ns.setUp("lo")) << ns.error();
    EXPECT_EQ(defaultAddress(), "127.0.0.1");
    ASSERT_TRUE(ns.addVethPair("va", "vb")) << ns.error();
    ASSERT_TRUE(ns.addVethPair("vc", "vd")) << ns.error();
    std::string const names[] = {"va", "vb", "vc", "vd"};
    std::string byIndex[6];
    for (auto const& name : names) {
        unsigned const index = if_nametoindex(name.c_str());
        ASSERT_TRUE(index >= 2 && index <= 5) << name << " " << index;
        byIndex[index] = name;
    }
    // Addresses on the two lowest veth indices: the higher one is the answer, whether or
    // not the interfaces are up, and interfaces above it without address do not count.
    ASSERT_TRUE(ns.addAddress(byIndex[2], "10.1.0.1/24")) << ns.error();
    ASSERT_TRUE(ns.addAddress(byIndex[3], "172.16.5.9/16")) << ns.error();
    EXPECT_EQ(defaultAddress(), "172.16.5.9");
    ASSERT_TRUE(ns.addAddress(byIndex[5], "192.168.77.2/24")) << ns.error();
    EXPECT_EQ(defaultAddress(), "192.168.77.2");
    // The scan stops at the first index that names no interface.
    ASSERT_TRUE(ns.remove("vc")) << ns.error(); // takes its peer vd along
    ASSERT_TRUE(ns.addVethPair("ve", "vf")) << ns.error();
    unsigned const gapAfter = if_nametoindex("ve");
    ASSERT_GT(gapAfter, 5u);
    ASSERT_TRUE(ns.addAddress("ve", "10.9.9.9/8")) << ns.error();
    EXPECT_EQ(defaultAddress(),
              byIndex[3] == "vc" || byIndex[3] == "vd" ? "10.1.0.1" : "172.16.5.9");
}

TEST(DefaultIpAddressEnvTest, NamespaceIsLeftOnDestruction) {
    unsigned const outsideLo = if_nametoindex("lo");
    {
        ORVIK_ENTER_NETWORK_NAMESPACE(ns);
        ASSERT_TRUE(ns.addVethPair("orvik0", "orvik1")) << ns.error();
        EXPECT_NE(if_nametoindex("orvik0"), 0u);
    }
    EXPECT_EQ(if_nametoindex("orvik0"), 0u);
    EXPECT_EQ(if_nametoindex("lo"), outsideLo);
}

} // namespace
