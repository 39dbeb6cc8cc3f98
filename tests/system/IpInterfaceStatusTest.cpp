// Interface status against a real kernel: a private network namespace with veth pairs, a
// sysfs mounted inside it (so /sys/class/net shows its interfaces) and a private /tmp, all
// in a private mount namespace.
#include <orvik_utilities/system/IpInterfaceStatus.h>

#include "support/ChildProcess.h"
#include "support/Sandbox.h"
#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <net/if.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

using namespace orvik_test;

TEST(IpInterfaceStatusTest, VirtualSlotsMatchTheDevice) {
    EXPECT_EQ(sizeof(IpInterfaceStatus), sizeof(void*));
    EXPECT_EQ(virtualSlot(&IpInterfaceStatus::isInterfaceAvailable), 2);
    EXPECT_EQ(virtualSlot(&IpInterfaceStatus::setInterfaceUp), 5);
    EXPECT_EQ(virtualSlot(&IpInterfaceStatus::getIpV4Address), 6);
    EXPECT_EQ(virtualSlot(&IpInterfaceStatus::setIpV4Mask), 9);
    EXPECT_EQ(virtualSlot(&IpInterfaceStatus::setTxQueueLen), 11);
}

// What a shell command prints, run in this thread's namespaces.
std::string outputOf(std::string const& command) {
    std::string output;
    if (std::FILE* pipe = popen((command + " 2>&1").c_str(), "r")) {
        char chunk[256];
        while (std::size_t got = std::fread(chunk, 1, sizeof chunk, pipe))
            output.append(chunk, got);
        pclose(pipe);
    }
    return output;
}

unsigned long kernelFlags(std::string const& name) {
    return std::strtoul(readFile("/sys/class/net/" + name + "/flags").c_str(), nullptr, 16);
}

// wlan0 and eth0 are the two ends of one veth link, both down and without addresses.
class IpInterfaceStatusEnvTest : public MountNamespaceTest {
protected:
    void prepare() override {
        net = std::make_unique<NetworkNamespace>();
        ASSERT_TRUE(net->entered()) << net->error();
        ASSERT_TRUE(net->addVethPair("wlan0", "eth0")) << net->error();
        // A sysfs mounted from inside the namespace lists the namespace's interfaces.
        ASSERT_TRUE(ns->mountNew("sysfs", "/sys")) << ns->error();
        ASSERT_TRUE(ns->tmpfs("/tmp")) << ns->error();
    }
    std::unique_ptr<NetworkNamespace> net;
    IpInterfaceStatus status;
};

TEST_F(IpInterfaceStatusEnvTest, AvailabilityIsASubstringOfSomeInterfaceName) {
    EXPECT_TRUE(status.isInterfaceAvailable("lan"));
    EXPECT_TRUE(status.isInterfaceAvailable("h0"));
    EXPECT_TRUE(status.isInterfaceAvailable(""));
    EXPECT_FALSE(status.isInterfaceAvailable("ppp"));
    EXPECT_FALSE(status.isInterfaceAvailable("wlan0x"));
    EXPECT_FALSE(status.isInterfaceAvailable(nullptr));
    ASSERT_TRUE(net->remove("eth0")) << net->error(); // takes its peer along
    EXPECT_FALSE(status.isInterfaceAvailable("lan"));
}

TEST_F(IpInterfaceStatusEnvTest, UpAndDownKeepTheOtherFlagsAndLongNamesAreRefused) {
    ASSERT_TRUE(net->ip("link set wlan0 promisc on")) << net->error();
    EXPECT_FALSE(status.isInterfaceUp("wlan0"));
    EXPECT_TRUE(status.setInterfaceUp("wlan0", 1));
    EXPECT_TRUE(status.isInterfaceUp("wlan0"));
    EXPECT_EQ(kernelFlags("wlan0") & (IFF_UP | IFF_PROMISC), unsigned(IFF_UP | IFF_PROMISC));
    EXPECT_FALSE(status.isInterfaceUp("eth0"));
    EXPECT_TRUE(status.setInterfaceUp("wlan0", 2)); // anything but 1 means down
    EXPECT_EQ(kernelFlags("wlan0") & (IFF_UP | IFF_PROMISC), unsigned(IFF_PROMISC));
    EXPECT_FALSE(status.setInterfaceUp("ppp0", 1));
    EXPECT_FALSE(status.isInterfaceUp(nullptr));

    // The kernel would cut the 16-character name to the 15-character one and answer for it.
    ASSERT_TRUE(net->addVethPair("orvik-fifteen15", "orvikpeer")) << net->error();
    ASSERT_TRUE(net->setUp("orvik-fifteen15") && net->setUp("orvikpeer")) << net->error();
    EXPECT_TRUE(status.isInterfaceUp("orvik-fifteen15"));
    EXPECT_TRUE(status.isInterfaceLinkUp("orvik-fifteen15"));
    EXPECT_FALSE(status.isInterfaceUp("orvik-fifteen15x"));
    EXPECT_FALSE(status.isInterfaceLinkUp("orvik-fifteen15x"));
    EXPECT_FALSE(status.setInterfaceUp("orvik-fifteen15x", 0));
    EXPECT_FALSE(status.setTxQueueLen("orvik-fifteen15-and-longer", 9));
    EXPECT_TRUE(status.isInterfaceUp("orvik-fifteen15"));
    EXPECT_EQ(readFile("/sys/class/net/orvik-fifteen15/tx_queue_len"), "1000\n");
}

TEST_F(IpInterfaceStatusEnvTest, CarrierFollowsThePeerAndIsAbsentWhenUnreadable) {
    // Down: the kernel refuses to read the carrier.
    EXPECT_FALSE(status.isInterfaceLinkUp("wlan0"));
    ASSERT_TRUE(net->setUp("wlan0")) << net->error();
    EXPECT_FALSE(status.isInterfaceLinkUp("wlan0")) << "peer still down";
    ASSERT_TRUE(net->setUp("eth0")) << net->error();
    EXPECT_TRUE(status.isInterfaceLinkUp("wlan0"));
    ASSERT_TRUE(net->ip("link set eth0 down")) << net->error();
    EXPECT_FALSE(status.isInterfaceLinkUp("wlan0"));
    EXPECT_FALSE(status.isInterfaceLinkUp("ppp0"));
    EXPECT_FALSE(status.isInterfaceLinkUp(nullptr));
    // A name may not lead the path out of /sys/class/net.
    ASSERT_TRUE(writeFile("/tmp/carrier", "1\n"));
    EXPECT_FALSE(status.isInterfaceLinkUp("../../../tmp"));
}

TEST_F(IpInterfaceStatusEnvTest, AddressAndMaskReadBackBothWays) {
    int const lowestFree = dup(0);
    close(lowestFree);
    EXPECT_EQ(status.getIpV4Address("wlan0"), 0u) << "no address yet";
    EXPECT_EQ(status.getIpV4Mask("wlan0"), 0u);
    ASSERT_TRUE(net->addAddress("eth0", "10.1.2.3/16")) << net->error();
    EXPECT_EQ(status.getIpV4Address("eth0"), 0x0A010203u);
    EXPECT_EQ(status.getIpV4Mask("eth0"), 0xFFFF0000u);

    EXPECT_TRUE(status.setIpV4Address("wlan0", 0xC0A80101));
    EXPECT_TRUE(status.setIpV4Mask("wlan0", 0xFFFFFF80));
    EXPECT_NE(outputOf("ip -4 -o address show dev wlan0").find("inet 192.168.1.1/25 "),
              std::string::npos)
        << outputOf("ip -4 -o address show dev wlan0");
    EXPECT_EQ(status.getIpV4Address("wlan0"), 0xC0A80101u);
    EXPECT_EQ(status.getIpV4Mask("wlan0"), 0xFFFFFF80u);

    EXPECT_FALSE(status.setIpV4Mask("wlan0", 0xFF00FF00)) << "not contiguous";
    EXPECT_EQ(status.getIpV4Mask("wlan0"), 0xFFFFFF80u);
    EXPECT_FALSE(status.setIpV4Address("ppp0", 0x0A000001));
    EXPECT_FALSE(status.setIpV4Mask("ppp0", 0xFF000000));
    EXPECT_EQ(status.getIpV4Address("ppp0"), 0u);
    int const stillFree = dup(0);
    close(stillFree);
    EXPECT_EQ(stillFree, lowestFree) << "a descriptor was left open";
}

TEST_F(IpInterfaceStatusEnvTest, QueueLengthReachesTheKernelWithinIntRange) {
    EXPECT_TRUE(status.setTxQueueLen("wlan0", 77));
    EXPECT_EQ(readFile("/sys/class/net/wlan0/tx_queue_len"), "77\n");
    EXPECT_FALSE(status.setTxQueueLen("wlan0", 0x80000000u));
    EXPECT_EQ(readFile("/sys/class/net/wlan0/tx_queue_len"), "77\n");
    EXPECT_FALSE(status.setTxQueueLen("ppp0", 10));
}

// The sanitizers' type check on a virtual call wants a pipe of its own, so it is left out
// where no descriptor can be had.
__attribute__((no_sanitize("vptr"))) std::string
answersWithoutDescriptors(IpInterfaceStatus& status) {
    rlimit none = {0, 0};
    setrlimit(RLIMIT_NOFILE, &none);
    return std::to_string(status.isInterfaceAvailable("wlan0")) +
           std::to_string(status.isInterfaceUp("wlan0")) +
           std::to_string(status.isInterfaceLinkUp("wlan0")) +
           std::to_string(status.setInterfaceUp("wlan0", 0)) +
           std::to_string(status.getIpV4Address("wlan0")) +
           std::to_string(status.setTxQueueLen("wlan0", 5)) +
           std::to_string(status.haveNetworkConnectivity());
}

TEST_F(IpInterfaceStatusEnvTest, NoDescriptorLeftMeansNoAnswer) {
    ASSERT_TRUE(net->setUp("wlan0") && net->setUp("eth0")) << net->error();
    ASSERT_TRUE(net->addAddress("wlan0", "10.1.2.3/16")) << net->error();
    ASSERT_TRUE(ns->privateDir("/tmp/status/linkGroupManager/hotLink.0")) << ns->error();
    ASSERT_TRUE(writeFile("/tmp/status/linkGroupManager/hotLink.0/name", ""));
    ChildRun const run = runInChild([this] { return answersWithoutDescriptors(status); });
    EXPECT_EQ(run.output, "0000000");
    EXPECT_TRUE(status.isInterfaceUp("wlan0") && status.isInterfaceLinkUp("wlan0"));
}

TEST_F(IpInterfaceStatusEnvTest, ConnectivityIsThePresenceOfTheUplinkFile) {
    EXPECT_FALSE(status.haveNetworkConnectivity());
    ASSERT_EQ(system("mkdir -p /tmp/status/linkGroupManager/hotLink.0"), 0);
    EXPECT_FALSE(status.haveNetworkConnectivity());
    ASSERT_TRUE(writeFile("/tmp/status/linkGroupManager/hotLink.0/name", ""));
    EXPECT_TRUE(status.haveNetworkConnectivity());
    ASSERT_EQ(unlink("/tmp/status/linkGroupManager/hotLink.0/name"), 0);
    EXPECT_FALSE(status.haveNetworkConnectivity());
}

} // namespace
