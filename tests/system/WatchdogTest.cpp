// The watchdog client against a real service socket at "/tmp/.watchdog_api" on a private /tmp.
// The client socket is process-wide, so every client runs in a fresh child.
#include <orvik_utilities/system/Watchdog.h>

#include "support/ChildProcess.h"
#include "support/Sandbox.h"
#include "system/WatchdogMessage.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>

namespace {

using namespace orvik_test;
using Sent = std::vector<std::pair<std::string, std::string>>; // bytes, sender path

std::string const kService = "/tmp/.watchdog_api";

// The 76 bytes the service reads: cmd, pid, value as little-endian words (both targets are
// little-endian), then the name zero-padded to 64 bytes.
std::string wire(uint32_t cmd, int pid, uint32_t value, std::string const& name = "") {
    std::string bytes;
    for (uint32_t word : {cmd, uint32_t(pid), value})
        for (int shift = 0; shift < 32; shift += 8)
            bytes += char((word >> shift) & 0xFF);
    return bytes + name + std::string(64 - name.size(), '\0');
}

// A cut path could name another client's socket, which the bind would remove first.
TEST(WatchdogTest, ANullNameMakesNoClientPath) {
    char path[108] = "untouched";
    EXPECT_FALSE(orvik::detail::watchdogClientPath(path, kService.c_str(), nullptr));
    EXPECT_STREQ(path, "untouched");
}

// A child's call results, its own process id written as "me".
std::string results(std::initializer_list<int> values) {
    std::string text;
    for (int value : values)
        text += (value == getpid() ? std::string("me") : std::to_string(value)) + " ";
    return text;
}

Sent received(DatagramSocket& service) {
    Sent sent;
    for (Datagram const& datagram : service.drain())
        sent.emplace_back(datagram.bytes, datagram.sender);
    return sent;
}

using WatchdogEnvTest = MountNamespaceTest;

TEST_F(WatchdogEnvTest, OneSocketCarriesEveryCommandAndLongNamesAreCutOrRefused) {
    std::string const longest(88, 'a'), tooLong(89, 'b'), client = kService + "_daemond";
    std::string const cutPath = kService + "_" + tooLong.substr(0, 88);
    DatagramSocket service;
    std::string why;
    ASSERT_TRUE(orvik_sandbox::serveWatchdog(*ns, false, service, &why)) << why;
    ASSERT_TRUE(writeFile(client, "stale") && writeFile(cutPath, "someone else's"));
    ChildRun const run = runInChild([&] {
        std::string const none = results({kx_watchdog_feed(0), kx_watchdog_unregister(0)});
        close(0); // daemons close standard input, so the socket may well be descriptor 0
        kx_watchdog_config("daemond");
        kx_watchdog_config("other");
        std::string refused = tooLong, accepted = longest;
        // Replacing the socket closes the old one: descriptor 0 is free again.
        return none +
               results({kx_watchdog_register(0xDEADBEEFu, 0, "daemond"), kx_watchdog_feed(0),
                        kx_watchdog_feed(4242), kx_watchdog_unregister(0),
                        kx_watchdog_register(1, 0, &longest[0]), kx_watchdog_init(&refused[0]),
                        errno, fcntl(0, F_GETFD), kx_watchdog_register(2, 0, &refused[0]),
                        kx_watchdog_init(&accepted[0]), kx_watchdog_feed(6)});
    });
    EXPECT_EQ(run.output,
              "0 0 me me 4242 me me -1 " + std::to_string(ENAMETOOLONG) + " -1 me 0 6 ");
    // clang-format off
    EXPECT_EQ(received(service), (Sent{{wire(4, 0, 0), client}, {wire(4, 0, 0), client}, {wire(1, run.pid, 0xDEADBEEFu, "daemond"), client},
        {wire(3, run.pid, 0), client}, {wire(3, 4242, 0), client}, {wire(2, run.pid, 0), client},
        {wire(1, run.pid, 1, longest.substr(0, 63)), client}, {wire(1, run.pid, 2, tooLong.substr(0, 63)), ""},
        {wire(3, 6, 0), kService + "_" + longest}}));
    // clang-format on
    EXPECT_EQ(readFile(cutPath), "someone else's");
    // Without descriptors to spare there is no socket (init gives socket()'s -1); with the
    // service gone, nothing is registered.
    ASSERT_EQ(unlink(kService.c_str()), 0);
    EXPECT_EQ(runInChild([] {
                  rlimit limit;
                  getrlimit(RLIMIT_NOFILE, &limit);
                  rlimit const none = {0, limit.rlim_max};
                  setrlimit(RLIMIT_NOFILE, &none);
                  kx_watchdog_config("d");
                  std::string const answers =
                      results({kx_watchdog_register(1, 0, "d"), kx_watchdog_init("d")});
                  setrlimit(RLIMIT_NOFILE, &limit);
                  return answers + results({kx_watchdog_register(1, 0, "d"), kx_watchdog_feed(0)});
              }).output,
              "0 -1 0 me ");
}

} // namespace
