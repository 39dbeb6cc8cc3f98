// The watchdog datagram, and the client talking to a real service socket at
// "/tmp/.watchdog_api" on a private /tmp. The client socket is process-wide, so every
// client runs in a fresh child.
#include <orvik_utilities/system/Watchdog.h>

#include "support/ChildProcess.h"
#include "support/MountNamespace.h"
#include "support/UnixDatagramReceiver.h"
#include "system/WatchdogMessage.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace {

using namespace orvik_test;

// The 76 bytes the service expects: cmd, pid, value as little-endian words (both targets
// are little-endian), then the name zero-padded to 64 bytes.
std::string wire(uint32_t cmd, uint32_t pid, uint32_t value, std::string const& name) {
    std::string bytes;
    for (uint32_t word : {cmd, pid, value})
        for (int shift = 0; shift < 32; shift += 8)
            bytes += char((word >> shift) & 0xFF);
    return bytes + name + std::string(64 - name.size(), '\0');
}

TEST(WatchdogMessageTest, FieldsSitAtFixedOffsetsAndTheRestIsZero) {
    unsigned char message[76];
    orvik::detail::buildWatchdogMessage(message, 1, 0x12345678, 0xA1B2C3D4u, "daemond");
    EXPECT_EQ(std::string(reinterpret_cast<char*>(message), 76),
              wire(1, 0x12345678, 0xA1B2C3D4u, "daemond"));
    orvik::detail::buildWatchdogMessage(message, 3, -1, 0, std::string(70, 'n').c_str());
    EXPECT_EQ(std::string(reinterpret_cast<char*>(message), 76),
              wire(3, 0xFFFFFFFFu, 0, std::string(63, 'n')));
    orvik::detail::buildWatchdogMessage(message, 4, 0, 0, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(message), 76), wire(4, 0, 0, ""));
}

TEST(WatchdogMessageTest, ClientPathMustFitTheSocketPath) {
    char path[108] = "untouched";
    EXPECT_TRUE(orvik::detail::watchdogClientPath(path, "/tmp/.watchdog_api", "daemond"));
    EXPECT_STREQ(path, "/tmp/.watchdog_api_daemond");
    std::string const longest(88, 'n'); // 19 + 88 characters and the terminator: 108
    EXPECT_TRUE(orvik::detail::watchdogClientPath(path, "/tmp/.watchdog_api", longest.c_str()));
    EXPECT_EQ(path, "/tmp/.watchdog_api_" + longest);
    std::strcpy(path, "untouched");
    EXPECT_FALSE(orvik::detail::watchdogClientPath(path, "/tmp/.watchdog_api",
                                                   (longest + "n").c_str()));
    EXPECT_FALSE(orvik::detail::watchdogClientPath(path, "/tmp/.watchdog_api", nullptr));
    EXPECT_STREQ(path, "untouched");
}

constexpr char kService[] = "/tmp/.watchdog_api";

class WatchdogEnvTest : public MountNamespaceTest {
protected:
    void SetUp() override {
        MountNamespaceTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        ASSERT_TRUE(ns->tmpfs("/tmp"));
    }
    void startService() {
        service = std::make_unique<UnixDatagramReceiver>(kService);
        ASSERT_TRUE(service->bound());
    }
    // Each datagram as "<sender> <76 bytes as wire() gives them>" checks against expected.
    void expectReceived(std::vector<std::pair<std::string, std::string>> const& expected) {
        std::vector<Datagram> const got = service->drain();
        ASSERT_EQ(got.size(), expected.size());
        for (std::size_t i = 0; i < got.size(); ++i) {
            EXPECT_EQ(got[i].sender, expected[i].first) << "datagram " << i;
            EXPECT_EQ(got[i].bytes, expected[i].second) << "datagram " << i;
        }
    }
    std::unique_ptr<UnixDatagramReceiver> service;
};

// Results of a child's calls, with its own process id written as "me".
std::string results(std::initializer_list<int> values) {
    std::string text;
    for (int value : values)
        text += (value == getpid() ? std::string("me") : std::to_string(value)) + " ";
    return text;
}

TEST_F(WatchdogEnvTest, FeedAndUnregisterNeedARegisteredSocket) {
    startService();
    ChildRun const run = runInChild([] {
        return results({kx_watchdog_feed(0), kx_watchdog_unregister(0)});
    });
    EXPECT_EQ(run.output, "0 0 ");
    expectReceived({});
}

TEST_F(WatchdogEnvTest, RegisterBindsTheClientAndEveryCommandArrivesWhole) {
    startService();
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
    uint32_t const pid = uint32_t(run.pid);
    expectReceived({{client, wire(1, pid, 0xDEADBEEFu, "daemond")},
                    {client, wire(3, pid, 0, "")},
                    {client, wire(3, 4242, 0, "")},
                    {client, wire(2, pid, 0, "")},
                    {client, wire(4, 0, 0, "")}});
    struct stat info;
    ASSERT_EQ(lstat(client.c_str(), &info), 0);
    EXPECT_TRUE(S_ISSOCK(info.st_mode));
    // A second start under the same name removes the path the first one left.
    ChildRun const again = runInChild([] { return results({kx_watchdog_register(7, 99, "daemond")}); });
    EXPECT_EQ(again.output, "99 ");
    expectReceived({{client, wire(1, 99, 7, "daemond")}});
}

TEST_F(WatchdogEnvTest, LongNamesAreCutInTheMessageAndRefusedForThePath) {
    startService();
    std::string const name70(70, 'a');
    std::string const name89(89, 'b');
    ASSERT_TRUE(writeFile("/tmp/.watchdog_api_" + name89.substr(0, 88), "someone else's"));
    ChildRun const run = runInChild([&] {
        return results({kx_watchdog_register(1, 0, name70.c_str())});
    });
    EXPECT_EQ(run.output, "me ");
    expectReceived({{"/tmp/.watchdog_api_" + name70, wire(1, uint32_t(run.pid), 1, name70.substr(0, 63))}});
    // Too long for a socket path: init fails, but messages still go out, unbound.
    ChildRun const unbound = runInChild([&] {
        std::string name = name89;
        return results({kx_watchdog_init(&name[0]), kx_watchdog_register(2, 0, name89.c_str())});
    });
    EXPECT_EQ(unbound.output, "-1 me ");
    expectReceived({{"", wire(1, uint32_t(unbound.pid), 2, name89.substr(0, 63))}});
    EXPECT_EQ(readFile("/tmp/.watchdog_api_" + name89.substr(0, 88)), "someone else's");
}

TEST_F(WatchdogEnvTest, ConfigAndInitMakeTheSocketAndALaterInitReplacesIt) {
    startService();
    ChildRun const run = runInChild([] {
        kx_watchdog_config("cfgd");
        char name[] = "second";
        return results({kx_watchdog_init(name), kx_watchdog_feed(5)});
    });
    EXPECT_EQ(run.output, "0 5 ");
    expectReceived({{"/tmp/.watchdog_api_cfgd", wire(4, 0, 0, "")},
                    {"/tmp/.watchdog_api_second", wire(3, 5, 0, "")}});
}

TEST_F(WatchdogEnvTest, WithoutAServiceRegisterFailsAndFeedStillAnswers) {
    ChildRun const run = runInChild([] {
        return results({kx_watchdog_register(1, 0, "daemond"), kx_watchdog_feed(0)});
    });
    EXPECT_EQ(run.output, "0 me ");
}

} // namespace
