// Interface status in private network and mount namespaces: a veth pair, its sysfs, a /tmp.
#include <orvik_utilities/system/IpInterfaceStatus.h>

#include "support/Sandbox.h"

#include <gtest/gtest.h>

#include <net/if.h>

#include <cstdlib>
#include <memory>

namespace {

using namespace orvik_test;

unsigned long kernelFlags(std::string const& name) {
    return std::strtoul(readFile("/sys/class/net/" + name + "/flags").c_str(), nullptr, 16);
}

// wlan0 and peer-fifteen-15 (the longest name allowed): one veth link, down, no addresses.
class IpInterfaceStatusEnvTest : public MountNamespaceTest {
protected:
    void prepare() override {
        net = std::make_unique<NetworkNamespace>();
        ASSERT_TRUE(net->entered() && net->addVethPair("wlan0", "peer-fifteen-15")) << net->error();
        ASSERT_TRUE(ns->mountNew("sysfs", "/sys") && ns->tmpfs("/tmp")) << ns->error();
    }
    std::unique_ptr<NetworkNamespace> net;
    IpInterfaceStatus status;
};

TEST_F(IpInterfaceStatusEnvTest,
       UpAndDownKeepTheOtherFlagsCarrierFollowsThePeerAndBadNamesAreRefused) {
    ASSERT_TRUE(net->ip("link set wlan0 promisc on")) << net->error();
    EXPECT_FALSE(status.isInterfaceUp("wlan0") || status.isInterfaceLinkUp("wlan0"));
    EXPECT_TRUE(status.setInterfaceUp("wlan0", 1) && status.isInterfaceUp("wlan0"));
    EXPECT_EQ(kernelFlags("wlan0") & (IFF_UP | IFF_PROMISC), unsigned(IFF_UP | IFF_PROMISC));
    EXPECT_FALSE(status.isInterfaceLinkUp("wlan0")) << "the peer is still down";
    EXPECT_TRUE(status.setInterfaceUp("peer-fifteen-15", 1) && status.isInterfaceLinkUp("wlan0"));
    EXPECT_TRUE(status.isInterfaceUp("peer-fifteen-15") &&
                status.isInterfaceLinkUp("peer-fifteen-15"));
    // The kernel would cut a 16-character name to the 15-character one and answer for it, and
    // a '/' would lead the carrier's path out of /sys/class/net.
    ASSERT_TRUE(writeFile("/tmp/carrier", "1\n"));
    for (char const* name :
         {"peer-fifteen-15x", "ppp0", "../../../tmp", static_cast<char const*>(nullptr)})
        EXPECT_FALSE(status.isInterfaceUp(name) || status.isInterfaceLinkUp(name) ||
                     status.setInterfaceUp(name, 0) || status.setTxQueueLen(name, 9) ||
                     status.setIpV4Address(name, 1) || status.setIpV4Mask(name, 0) ||
                     status.getIpV4Address(name) || status.getIpV4Mask(name))
            << name;
    EXPECT_TRUE(status.setInterfaceUp("wlan0", 2)); // anything but 1 means down
    EXPECT_EQ(kernelFlags("wlan0") & (IFF_UP | IFF_PROMISC), unsigned(IFF_PROMISC));
    EXPECT_FALSE(status.isInterfaceLinkUp("wlan0")) << "a down interface shows no carrier";
    // Availability is a substring of some interface's name.
    for (char const* name : {"lan", "n-15", ""})
        EXPECT_TRUE(status.isInterfaceAvailable(name)) << name;
    for (char const* name : {"ppp", "wlan0x", static_cast<char const*>(nullptr)})
        EXPECT_FALSE(status.isInterfaceAvailable(name)) << name;
}

TEST_F(IpInterfaceStatusEnvTest, AddressMaskQueueLengthAndUplinkReachTheKernel) {
    EXPECT_EQ(status.getIpV4Address("wlan0") + status.getIpV4Mask("wlan0"), 0u);
    ASSERT_TRUE(net->addAddress("peer-fifteen-15", "10.1.2.3/16")) << net->error();
    EXPECT_EQ(status.getIpV4Address("peer-fifteen-15"), 0x0A010203u);
    EXPECT_EQ(status.getIpV4Mask("peer-fifteen-15"), 0xFFFF0000u);
    EXPECT_TRUE(status.setIpV4Address("wlan0", 0xC0A80101) &&
                status.setIpV4Mask("wlan0", 0xFFFFFF80));
    EXPECT_EQ(status.getIpV4Address("wlan0"), 0xC0A80101u);
    EXPECT_FALSE(status.setIpV4Mask("wlan0", 0xFF00FF00)) << "not contiguous";
    EXPECT_EQ(status.getIpV4Mask("wlan0"), 0xFFFFFF80u);
    EXPECT_TRUE(status.setTxQueueLen("wlan0", 77));
    EXPECT_FALSE(status.setTxQueueLen("wlan0", 0x80000000u));
    EXPECT_EQ(readFile("/sys/class/net/wlan0/tx_queue_len"), "77\n");
    // Connectivity is the presence of the uplink file, not of its directories.
    std::string why;
    EXPECT_FALSE(status.haveNetworkConnectivity());
    ASSERT_TRUE(orvik_sandbox::setUplink(true, &why)) << why;
    EXPECT_TRUE(status.haveNetworkConnectivity());
    ASSERT_TRUE(orvik_sandbox::setUplink(false, &why)) << why;
    EXPECT_FALSE(status.haveNetworkConnectivity());
}

} // namespace
