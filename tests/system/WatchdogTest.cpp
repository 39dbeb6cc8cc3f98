// The watchdog client talking to a real service socket at "/tmp/.watchdog_api" on a private
// /tmp. The client socket is process-wide, so every client runs in a fresh child.
#include <orvik_utilities/system/Watchdog.h>

#include "support/ChildProcess.h"
#include "support/Sandbox.h"
#include "system/WatchdogMessage.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

using namespace orvik_test;

// The 76 bytes the service expects: cmd, pid, value as little-endian words (both targets
// are little-endian), then the name zero-padded to 64 bytes.
std::string wire(uint32_t cmd, int pid, uint32_t value, std::string const& name) {
    std::string bytes;
    for (uint32_t word : {cmd, uint32_t(pid), value})
        for (int shift = 0; shift < 32; shift += 8)
            bytes += char((word >> shift) & 0xFF);
    return bytes + name + std::string(64 - name.size(), '\0');
}

TEST(WatchdogMessageTest, FieldsSitAtFixedOffsetsAndTheRestIsZero) {
    unsigned char message[76];
    orvik::detail::buildWatchdogMessage(message, 1, -2, 0xA1B2C3D4u, std::string(70, 'n').c_str());
    EXPECT_EQ(std::string(reinterpret_cast<char*>(message), 76),
              wire(1, -2, 0xA1B2C3D4u, std::string(63, 'n')));
    orvik::detail::buildWatchdogMessage(message, 4, 0, 0, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(message), 76), wire(4, 0, 0, ""));
}

// A child's call results, its own process id written as "me".
std::string results(std::initializer_list<int> values) {
    std::string text;
    for (int value : values)
        text += (value == getpid() ? std::string("me") : std::to_string(value)) + " ";
    return text;
}

class WatchdogEnvTest : public MountNamespaceTest {
protected:
    void prepare() override {
        std::string why;
        ASSERT_TRUE(orvik_sandbox::serveWatchdog(*ns, false, service, &why)) << why;
    }
    // Each datagram's sender path and 76 bytes, in order.
    void expectReceived(std::vector<Datagram> const& expected) {
        std::vector<Datagram> const got = service.drain();
        ASSERT_EQ(got.size(), expected.size());
        for (std::size_t i = 0; i < got.size(); ++i) {
            EXPECT_EQ(got[i].sender, expected[i].sender) << i;
            EXPECT_EQ(got[i].bytes, expected[i].bytes) << i;
        }
    }
    DatagramSocket service;
};

TEST_F(WatchdogEnvTest, RegisterBindsTheClientAndEveryCommandArrivesWhole) {
    EXPECT_EQ(runInChild([] {
                  return results({kx_watchdog_feed(0), kx_watchdog_unregister(0)});
              }).output,
              "0 0 ");
    ASSERT_TRUE(writeFile("/tmp/.watchdog_api_daemond", "stale"));
    ChildRun const run = runInChild([] {
        std::string const answers =
            results({kx_watchdog_register(0xDEADBEEFu, 0, "daemond"), kx_watchdog_feed(0),
                     kx_watchdog_feed(4242), kx_watchdog_unregister(0)});
        kx_watchdog_config("other");
        return answers;
    });
    EXPECT_EQ(run.output, "me me 4242 me ");
    std::string const client = "/tmp/.watchdog_api_daemond";
    expectReceived({{wire(1, run.pid, 0xDEADBEEFu, "daemond"), client},
                    {wire(3, run.pid, 0, ""), client},
                    {wire(3, 4242, 0, ""), client},
                    {wire(2, run.pid, 0, ""), client},
                    {wire(4, 0, 0, ""), client}});
    struct stat info;
    EXPECT_TRUE(lstat(client.c_str(), &info) == 0 && S_ISSOCK(info.st_mode));
    // A second start under the same name removes the socket file the first one left.
    EXPECT_EQ(runInChild([] { return results({kx_watchdog_register(7, 99, "daemond")}); }).output,
              "99 ");
    expectReceived({{wire(1, 99, 7, "daemond"), client}});
}

TEST_F(WatchdogEnvTest, LongNamesAreCutInTheMessageAndRefusedForThePath) {
    std::string const longest(88, 'a'), tooLong(89, 'b');
    std::string const cutPath = "/tmp/.watchdog_api_" + tooLong.substr(0, 88);
    ASSERT_TRUE(writeFile(cutPath, "someone else's"));
    ChildRun const run = runInChild([&] {
        std::string name = tooLong;
        return results({kx_watchdog_register(1, 0, longest.c_str()), kx_watchdog_init(&name[0]),
                        errno, kx_watchdog_register(2, 0, tooLong.c_str())});
    });
    EXPECT_EQ(run.output, "me -1 " + std::to_string(ENAMETOOLONG) + " me ");
    expectReceived({{wire(1, run.pid, 1, longest.substr(0, 63)), "/tmp/.watchdog_api_" + longest},
                    {wire(1, run.pid, 2, tooLong.substr(0, 63)), ""}}); // sent unbound
    EXPECT_EQ(readFile(cutPath), "someone else's");
}

TEST_F(WatchdogEnvTest, ConfigMakesTheSocketAndALaterInitReplacesIt) {
    ChildRun const run = runInChild([] {
        close(0); // daemons close standard input, so the socket may well be descriptor 0
        kx_watchdog_config("cfgd");
        kx_watchdog_config("other");
        char name[] = "second";
        // The replaced socket is closed: descriptor 0 is free again.
        return results({kx_watchdog_feed(5), kx_watchdog_register(3, 0, "cfgd"),
                        kx_watchdog_init(name), fcntl(0, F_GETFD), kx_watchdog_feed(6)});
    });
    EXPECT_EQ(run.output, "5 me 0 -1 6 ");
    std::string const first = "/tmp/.watchdog_api_cfgd";
    expectReceived({{wire(4, 0, 0, ""), first},
                    {wire(4, 0, 0, ""), first},
                    {wire(3, 5, 0, ""), first},
                    {wire(1, run.pid, 3, "cfgd"), first},
                    {wire(3, 6, 0, ""), "/tmp/.watchdog_api_second"}});
    // Without descriptors to spare there is no socket: init gives socket()'s -1.
    EXPECT_EQ(runInChild([] {
                  rlimit const none = {0, 0};
                  setrlimit(RLIMIT_NOFILE, &none);
                  char name[] = "d";
                  kx_watchdog_config(name);
                  return results({kx_watchdog_register(1, 0, name), kx_watchdog_init(name)});
              }).output,
              "0 -1 ");
    ASSERT_EQ(unlink("/tmp/.watchdog_api"), 0); // the service is gone: register fails
    EXPECT_EQ(runInChild([] {
                  return results({kx_watchdog_register(1, 0, "d"), kx_watchdog_feed(0)});
              }).output,
              "0 me ");
}

} // namespace
