// Log-level lines, and sorrelLogInit against a level file and a syslog receiver in a private
// mount namespace; each start runs in a child, so the test program's syslog stays untouched.
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

TEST(LogLevelLineTest, SecondTokenFromTheNameOnClampedToTheMask) {
    struct {
        char const* line;
        char const* name;
        int32_t level; // -9: no match, level untouched
    } const rows[] = {
        {"daemond 6\n", "daemond", 6},
        {"daemond 3\n", "mon", 3}, // tokens "mond", "3"
        {"xdaemond   4 x\n", "daemond", 4},
        {"other 5\n", "daemond", -9},
        {"daemond\t3\n", "daemond", 0},
        {"daemond x5\n", "daemond", 0},
        {"daemond \t5\n", "daemond", 5},
        {"daemond \t 5\n", "daemond", 0}, // second token "\t"
        {"a  b 3\n", " b", 3},
        {"daemond 8\n", "daemond", 7},
        {"daemond 99999999999999999999", "daemond", 7},
        {"daemond -1\n", "daemond", 0},
    };
    for (auto const& row : rows) {
        int32_t level = -9;
        EXPECT_EQ(orvik::detail::levelFromLine(row.line, row.name, &level), row.level != -9);
        EXPECT_EQ(level, row.level) << row.line;
    }
}

using orvik_sandbox::kLevelFile;

class LogInitEnvTest : public MountNamespaceTest {
protected:
    void prepare() override {
        std::string why;
        ASSERT_TRUE(orvik_sandbox::provideLevelFile(*ns, "", &why)) << why;
        ASSERT_TRUE(orvik_sandbox::serveSyslog(*ns, syslogd, &why)) << why;
    }

    // A child starts as name; given rewrite, it puts that in the file (unless "") and raises
    // SIGUSR1. Then it logs
    // "probe <p>" at every priority p. Returns what arrived, "<priority> text" a line.
    std::string startAndProbe(char const* name, char const* rewrite = nullptr) {
        ChildRun const run = runInChild([=] {
            sorrelLogInit(name);
            if (rewrite != nullptr && (*rewrite == '\0' || writeFile(kLevelFile, rewrite)))
                std::raise(SIGUSR1);
            for (int priority = LOG_EMERG; priority <= LOG_DEBUG; ++priority)
                syslog(priority, "probe %d", priority);
            return std::string();
        });
        EXPECT_EQ(run.output, "");
        std::string lines;
        // Sent before the child ended, so all are queued by now.
        for (Datagram const& datagram : syslogd.drain()) {
            orvik_sandbox::SyslogLine const message = orvik_sandbox::parseSyslog(datagram.bytes);
            EXPECT_EQ(message.facility, LOG_USER) << message.raw;
            EXPECT_EQ(message.pid, run.pid) << message.raw;
            EXPECT_EQ(message.ident, name != nullptr ? name : message.ident) << message.raw;
            lines += std::to_string(message.priority) + " " + message.text + "\n";
        }
        return lines;
    }
    DatagramSocket syslogd;
};

TEST_F(LogInitEnvTest, FirstStartAddsLevelZeroAndConfiguredLevelsAreAnnounced) {
    EXPECT_EQ(startAndProbe("daemond"), "0 probe 0\n");
    EXPECT_EQ(readFile(kLevelFile), "daemond 0\n");
    ASSERT_TRUE(writeFile(kLevelFile, "other 6\ndaemond 2\n"));
    EXPECT_EQ(startAndProbe("daemond"),
              "2 [Log level for daemond set to 2]\n0 probe 0\n1 probe 1\n2 probe 2\n");
    EXPECT_EQ(readFile(kLevelFile), "other 6\ndaemond 2\n");
}

TEST_F(LogInitEnvTest, NamesMatchInsideLongerNamesButNotAcrossTheReadLimit) {
    std::string const file = "daemond 1\nmon 6\n" + std::string(77, 'x') + "cutd 5\n";
    ASSERT_TRUE(writeFile(kLevelFile, file));
    EXPECT_EQ(startAndProbe("mon"), "1 [Log level for mon set to 1]\n0 probe 0\n1 probe 1\n");
    EXPECT_EQ(startAndProbe("cutd"), "0 probe 0\n");
    EXPECT_EQ(readFile(kLevelFile), file + "cutd 0\n");
}

TEST_F(LogInitEnvTest, Sigusr1AppliesAChangedLevelAndKeepsItWhenTheLineGoes) {
    ASSERT_TRUE(writeFile(kLevelFile, "daemond 0\n"));
    EXPECT_EQ(startAndProbe("daemond", "daemond 1\n"),
              "1 [Log level for daemond set to 1]\n0 probe 0\n1 probe 1\n");
    ASSERT_TRUE(writeFile(kLevelFile, "daemond 1\n"));
    EXPECT_EQ(startAndProbe("daemond", "other 0\n"),
              "1 [Log level for daemond set to 1]\n0 probe 0\n1 probe 1\n");
    EXPECT_EQ(readFile(kLevelFile), "other 0\n");
}

TEST_F(LogInitEnvTest, UnopenableFileOrNoNameLeavesEveryPriorityOn) {
    ASSERT_EQ(mkdir(kLevelFile, 0755), 0); // fopen of a directory fails
    EXPECT_EQ(startAndProbe("daemond", "").size(), std::string("0 probe 0\n").size() * 8);
    ASSERT_EQ(rmdir(kLevelFile), 0);
    EXPECT_EQ(startAndProbe(nullptr, "").size(), std::string("0 probe 0\n").size() * 8);
    EXPECT_EQ(readFile(kLevelFile), "<unreadable>");
}

} // namespace
