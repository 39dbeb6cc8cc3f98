// sorrelLogInit against a level file and a syslog receiver in a private mount namespace, and
// the level-line reader. Each start runs in a child, so the test program's syslog stays as is.
#include <orvik_utilities/system/LogInit.h>

#include "support/ChildProcess.h"
#include "support/Sandbox.h"
#include "system/LogLevelLine.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <syslog.h>

#include <csignal>

namespace {

using namespace orvik_test;
using orvik_sandbox::kLevelFile;

// The second space-separated token from where the name begins ("mon" in "daemond 3" reads
// "mond" and "3"; a tab is part of a token); -9: no match, level untouched.
TEST(LogInitTest, LevelLineGivesTheSecondTokenFromTheNameClampedToTheMask) {
    // clang-format off
    struct { char const* line; char const* name; int32_t level; } const rows[] = {
        {"daemond 6\n", "daemond", 6}, {"daemond 3\n", "mon", 3}, {"xdaemond   4 x\n", "daemond", 4},
        {"other 5\n", "daemond", -9}, {"daemond\t3\n", "daemond", 0}, {"daemond x5\n", "daemond", 0},
        {"daemond \t5\n", "daemond", 5}, {"daemond \t 5\n", "daemond", 0}, {"a  b 3\n", " b", 3},
        {"daemond 8\n", "daemond", 7}, {"daemond -1\n", "daemond", 0}, {"daemond 9999999999", "daemond", 7}};
    // clang-format on
    for (auto const& row : rows) {
        int32_t level = -9;
        EXPECT_EQ(orvik::detail::levelFromLine(row.line, row.name, &level), row.level != -9);
        EXPECT_EQ(level, row.level) << row.line;
    }
}

using LogInitEnvTest = MountNamespaceTest;

TEST_F(LogInitEnvTest, LevelsComeFromTheFirstLineHoldingTheNameAndSigusr1RereadsThem) {
    DatagramSocket syslogd;
    std::string why;
    ASSERT_TRUE(orvik_sandbox::provideLevelFile(*ns, "", &why)) << why;
    ASSERT_TRUE(orvik_sandbox::serveSyslog(*ns, syslogd, &why)) << why;
    // A child starts as name, then (given rewrite) writes it to the file unless "" and raises
    // SIGUSR1. Gives its log mask (LOG_UPTO(n) is 2^(n+1) - 1) and the lines queued for us.
    auto start = [&](char const* name, char const* rewrite = nullptr) {
        ChildRun const run = runInChild([=] {
            sorrelLogInit(name);
            if (rewrite != nullptr && (*rewrite == '\0' || writeFile(kLevelFile, rewrite)))
                std::raise(SIGUSR1);
            return std::to_string(setlogmask(0));
        });
        std::string lines = run.output;
        for (Datagram const& datagram : syslogd.drain()) {
            orvik_sandbox::SyslogLine const line = orvik_sandbox::parseSyslog(datagram.bytes);
            EXPECT_TRUE(line.facility == LOG_USER && line.pid == run.pid && line.ident == name)
                << line.raw;
            lines += " <" + std::to_string(line.priority) + ">" + line.text;
        }
        return lines;
    };
    EXPECT_EQ(start("daemond"), "1");
    EXPECT_EQ(readFile(kLevelFile), "daemond 0\n");
    // Lines are read 79 characters at a time: "cutd" falls apart.
    std::string const file = "other 6\ndaemond 2\nmon 6\n" + std::string(77, 'x') + "cutd 5\n";
    ASSERT_TRUE(writeFile(kLevelFile, file));
    EXPECT_EQ(start("daemond"), "7 <2>[Log level for daemond set to 2]");
    EXPECT_EQ(start("mon"), "7 <2>[Log level for mon set to 2]");
    EXPECT_EQ(start("cutd"), "1");
    EXPECT_EQ(readFile(kLevelFile), file + "cutd 0\n");
    // SIGUSR1 applies a changed level, and keeps the level when the line has gone.
    ASSERT_TRUE(writeFile(kLevelFile, "daemond 0\n"));
    EXPECT_EQ(start("daemond", "daemond 1\n"), "3 <1>[Log level for daemond set to 1]");
    EXPECT_EQ(start("daemond", "other 0\n"), "3 <1>[Log level for daemond set to 1]");
    EXPECT_EQ(readFile(kLevelFile), "other 0\n");
    // An unopenable file, or no name, leaves every priority on.
    ASSERT_TRUE(unlink(kLevelFile) == 0 && mkdir(kLevelFile, 0755) == 0);
    EXPECT_EQ(start("daemond", ""), "255");
    ASSERT_EQ(rmdir(kLevelFile), 0);
    EXPECT_EQ(start(nullptr, ""), "255");
    EXPECT_EQ(readFile(kLevelFile), "<unreadable>");
}

} // namespace
