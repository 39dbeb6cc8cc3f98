// rawping and its ARP line reader. As root, from the device's wan0 (10.0.0.2), every log line
// read: the IP path to the gateway 10.0.0.1, the Ethernet path to the far host 192.0.2.1.
#include <orvik_utilities/net/RawPing.h>

#include "net/ArpLine.h"
#include "net/NetEnv.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace {

using namespace orvik_test;
using orvik_sandbox::echoRequests;

// '+' rows are found with 02:42:ac:11:00:0b, '-' rows leave the address alone.
TEST(ArpLineTest, CompleteEntriesOfTheNextHopOnly) {
    using orvik::detail::arpLineHardwareAddress;
    std::string const field63(62, '0');
    std::string const rows[] = {
        "+10.0.0.1     0x1  0x2  02:42:ac:11:00:0b  *  eth0\n",
        "+10.0.0.1\t0x1\t2\t2:42:AC:11:0:b",    // decimal flags
        "+10.0.0.12 0x1 0x2 02:42:ac:11:00:0b", // searched by the next hop's length
        "+10.0.0.1 0x1 " + field63 + "2 02:42:ac:11:00:0b",
        "-10.0.0.1 0x1 0" + field63 + "2 02:42:ac:11:00:0b", // refused whole, not split
        "-10.0.0.1 0x1 0x4 02:42:ac:11:00:0b * eth0",        // no complete bit
        "-10.0.0.1 0x1 0x2 02:42:ac:11:00",
        "- 10.0.0.1 0x1 0x2 02:42:ac:11:00:0b", // must start the line
        "+10.0.0.1 0x1 0x6 02:42:ac:11:00:0bb", // two digits an octet
        "+10.0.0.1 0x1 0x2 02:42:ac:11:00:b",   // cut where it ends, whatever the last left
    };
    for (std::string const& row : rows) {
        Bytes hw(6, 9);
        bool const found = arpLineHardwareAddress(&row[1], "10.0.0.1", hw.data());
        EXPECT_EQ(hex(hw), found ? "0242ac11000b" : "090909090909") << row;
        EXPECT_EQ(found, row[0] == '+') << row;
    }
    unsigned char hw[6];
    EXPECT_FALSE(arpLineHardwareAddress(nullptr, "10.0.0.1", hw) ||
                 arpLineHardwareAddress("10.0.0.1 0x1 0x2 2:0:0:0:0:1", nullptr, hw));
}

class RawPingEnvTest : public NetEnvTest {
protected:
    // rawping's result, its log lines (LOG_ERR, this process's) and the 2.5 s of five polls.
    static std::string probe(char const* device, char const* host, char const* gateway) {
        auto const start = std::chrono::steady_clock::now();
        std::string text = std::to_string(rawping(device, host, gateway));
        std::chrono::duration<double> const took = std::chrono::steady_clock::now() - start;
        for (Datagram const& datagram : world->syslogd.drain()) {
            orvik_sandbox::SyslogLine const line = orvik_sandbox::parseSyslog(datagram.bytes);
            EXPECT_TRUE(line.priority == LOG_ERR && line.ident == "probe-test" &&
                        line.pid == getpid() && line.raw.back() == '\n')
                << line.raw;
            text += "|" + line.text;
        }
        return text + (took.count() > 2.3 ? "|2.5 s" : "");
    }
    static bool knowGateway() {
        return world->device.ip("neigh replace 10.0.0.1 lladdr " +
                                std::string(orvik_sandbox::kGatewayMac) +
                                " dev wan0 nud permanent");
    }
};

// Every refusal is one line, and the caller's texts are its arguments, never its format.
TEST_F(RawPingEnvTest, RefusalsBeforeAnyPacket) {
    char const* const rows[][4] = {
        {"lo", "%s%n%x", nullptr, "0|invalid target '%s%n%x'"},
        {"lo", "10.1.2.3", "%n%n", "0|invalid gateway '%n%n'"},
        {"a-name-of-16-ch", "10.1.2.3", nullptr,
         "0|can't get interface address of a-name-of-16-ch: No such device"},
        {"a-name-of-16-chr", "10.1.2.3", nullptr, "0|device name too long: a-name-of-16-chr"},
    };
    for (auto const& row : rows)
        EXPECT_EQ(probe(row[0], row[1], row[2]), row[3]);
    EXPECT_EQ(rawping(nullptr, "127.0.0.1", nullptr) + rawping("lo", nullptr, nullptr), 0);
    // The Ethernet path's packet address holds 13 characters of a name.
    ASSERT_TRUE(knowGateway() && world->device.addVethPair("p0-fourteen-ch", "p0-peer") &&
                world->device.addAddress("p0-fourteen-ch", "10.6.0.1/24"))
        << world->device.error();
    EXPECT_EQ(probe("p0-fourteen-ch", "192.0.2.1", "10.0.0.1"),
              "0|device name too long: p0-fourteen-ch");
    EXPECT_TRUE(world->device.remove("p0-fourteen-ch")) << world->device.error();
}

TEST_F(RawPingEnvTest, IpPathToTheTargetOnWan0) {
    // A gateway on the target's own subnet: the IP path, its sequence from 1, no
    // don't-fragment, fields in host order.
    EXPECT_EQ(probe("wan0", "10.0.0.1", "10.0.0.254"),
              "1|packet transmitted for 10.0.0.1 (48 bytes)");
    std::string const pattern =
        "45000030....00004001....0a0000020a0000010800........0100" + std::string(40, '0');
    auto const requests = echoRequests(world->onGateway, 1);
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(hex(requests[0], pattern), pattern);
    // Off the subnet without a gateway: still the IP path, where the bound socket takes the
    // target for a neighbour on wan0 that never answers.
    EXPECT_EQ(probe("wan0", "10.99.0.1", ""), "0|packet transmitted for 10.99.0.1 (48 bytes)|"
                                              "received no valid reply from 10.99.0.1|2.5 s");
    std::string const raw = readFile("/proc/net/raw"); // nothing is left open: the heading only
    EXPECT_EQ(raw.find('\n'), raw.rfind('\n')) << raw;
}

TEST_F(RawPingEnvTest, EthernetPathThroughTheGateway) {
    // A gateway address nothing has used is missing from the table: an IP echo to it makes
    // the kernel resolve it first. A known one: the probe alone goes out, saying nothing.
    ASSERT_TRUE(world->net->gateway.run("ip address replace 10.0.0.5/24 dev gw0"));
    EXPECT_EQ(probe("wan0", "192.0.2.1", "10.0.0.5"),
              "1|packet transmitted for 10.0.0.5 (48 bytes)");
    ASSERT_TRUE(knowGateway()) << world->device.error();
    EXPECT_EQ(probe("wan0", "192.0.2.1", "10.0.0.1"), "1");
    auto const atGateway = echoRequests(world->onGateway, 3), atFar = echoRequests(world->onFar, 2);
    ASSERT_TRUE(atGateway.size() == 3 && atFar.size() == 2);
    std::string const pattern = "4500001c000040004001....0a000002c00002010800........0001";
    EXPECT_EQ(hex(atGateway[1], pattern) + hex(atGateway[2], pattern), pattern + pattern);
    // A silent far host; then an incomplete entry, never used: the query exchange finds no answer.
    ASSERT_TRUE(world->device.ip("neigh add 10.0.0.9 dev wan0 nud incomplete") &&
                silence(world->net->far, true))
        << world->device.error() << world->net->far.error();
    EXPECT_EQ(probe("wan0", "192.0.2.1", "10.0.0.1"),
              "0|received no valid reply from 192.0.2.1|2.5 s");
    EXPECT_EQ(probe("wan0", "192.0.2.1", "10.0.0.9"),
              "0|packet transmitted for 10.0.0.9 (48 bytes)|received no valid reply from 10.0.0.9|"
              "can't resolve HW address for 10.0.0.9 -> send query|2.5 s");
    EXPECT_EQ(echoRequests(world->onFar).size(), 1u);
}

// A line over 254 characters is skipped with its continuation, which here names the gateway
// with a wrong address; the next line, the file's last, ends without a newline.
TEST_F(RawPingEnvTest, ArpTableLinesOverTheLimitAreSkippedWhole) {
    MountNamespace table;
    std::string const entry = "10.0.0.1 0x1 0x2 ";
    std::string const text = "IP address HW type Flags HW address Mask Device\n"
                             "10.0.0.7 0x1 0x2 02:00:00:00:00:07" +
                             std::string(255 - 34, ' ') + entry + "02:00:00:00:00:99 * wan0\n" +
                             entry + orvik_sandbox::kGatewayMac + std::string(254 - 34, ' ');
    ASSERT_TRUE(table.privateDir("/tmp/orvik-net") && writeFile("/tmp/orvik-net/arp", text) &&
                table.bind("/tmp/orvik-net", "/proc/net"))
        << table.error();
    EXPECT_EQ(probe("wan0", "192.0.2.1", "10.0.0.1"), "1");
}

} // namespace
