// Log-level lines, and sorrelLogInit against a level file and a syslog receiver in a private
// mount namespace. Each start runs in a child, which keeps syslog and SIGUSR1 of the test
// program untouched.
#include <orvik_utilities/system/LogInit.h>

#include "support/ChildProcess.h"
#include "support/MountNamespace.h"
#include "support/SyslogReceiver.h"
#include "system/LogLevelLine.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <syslog.h>

#include <csignal>
#include <string>

namespace {

using namespace orvik_test;

TEST(LogLevelLineTest, TakesSecondTokenFromWhereTheNameBegins) {
    struct Row {
        char const* line;
        char const* name;
        bool found;
        int32_t level;
    } const rows[] = {
        {"daemond 6\n", "daemond", true, 6},
        {"daemond 3\n", "mon", true, 3}, // substring: the tokens are "mond" and "3"
        {"xdaemond   4 extra\n", "daemond", true, 4},
        {"daemond 5x\n", "daemond", true, 5},
        {"other 5\n", "daemond", false, -9},
        // No second token (a tab separates nothing) or no digits: the quietest level.
        {"daemond\n", "daemond", true, 0},
        {"daemond\t3\n", "daemond", true, 0},
        {"daemond x5\n", "daemond", true, 0},
        // Out of range: clamped to what the mask can express.
        {"daemond 8\n", "daemond", true, 7},
        {"daemond 99999999999999999999\n", "daemond", true, 7},
        {"daemond -1\n", "daemond", true, 0},
    };
    for (Row const& row : rows) {
        int32_t level = -9;
        EXPECT_EQ(orvik::detail::levelFromLine(row.line, row.name, &level), row.found) << row.line;
        EXPECT_EQ(level, row.level) << row.line;
    }
}

constexpr char kLevelFile[] = "/etc/log/log.cfg";

class LogInitEnvTest : public MountNamespaceTest {
protected:
    void SetUp() override {
        MountNamespaceTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        ASSERT_TRUE(ns->privateDir("/etc/log"));
        syslogd = std::make_unique<SyslogReceiver>(*ns);
        ASSERT_TRUE(syslogd->ready());
    }

    // Starts a child as name, which then logs "probe <p>" at every priority p.
    pid_t startAndProbe(char const* name) {
        ChildRun const run = runInChild([name] {
            sorrelLogInit(name);
            for (int priority = LOG_EMERG; priority <= LOG_DEBUG; ++priority)
                syslog(priority, "probe %d", priority);
            return std::string();
        });
        EXPECT_EQ(run.output, "");
        return run.pid;
    }

    // What arrived, one "<priority> text" line each; every message checked for ident and pid.
    std::string received(char const* ident, pid_t pid) {
        std::string lines;
        for (SyslogMessage const& message : syslogd->drain()) {
            EXPECT_EQ(message.facility, LOG_USER) << message.raw;
            EXPECT_EQ(message.ident, ident) << message.raw;
            EXPECT_EQ(message.pid, pid) << message.raw;
            lines += std::to_string(message.priority) + " " + message.text + "\n";
        }
        return lines;
    }

    std::unique_ptr<SyslogReceiver> syslogd;
};

TEST_F(LogInitEnvTest, FirstStartAddsLevelZeroAndLogsOnlyEmergencies) {
    pid_t const pid = startAndProbe("daemond");
    EXPECT_EQ(received("daemond", pid), "0 probe 0\n");
    EXPECT_EQ(readFile(kLevelFile), "daemond 0\n");
}

TEST_F(LogInitEnvTest, ConfiguredLevelSetsMaskAndIsAnnouncedAtItsPriority) {
    std::string const file = "other 6\ndaemond 3\n";
    ASSERT_TRUE(writeFile(kLevelFile, file));
    pid_t const pid = startAndProbe("daemond");
    EXPECT_EQ(received("daemond", pid), "3 [Log level for daemond set to 3]\n"
                                        "0 probe 0\n1 probe 1\n2 probe 2\n3 probe 3\n");
    EXPECT_EQ(readFile(kLevelFile), file);
}

TEST_F(LogInitEnvTest, NameMatchesInsideALongerNameAndAcrossNoLineBreak) {
    // "mon" is found in "daemond" first; a name cut by the 79-character read is not found.
    std::string const file = "daemond 1\nmon 6\n" + std::string(77, 'x') + "cutd 5\n";
    ASSERT_TRUE(writeFile(kLevelFile, file));
    pid_t pid = startAndProbe("mon");
    EXPECT_EQ(received("mon", pid), "1 [Log level for mon set to 1]\n0 probe 0\n1 probe 1\n");
    pid = startAndProbe("cutd");
    EXPECT_EQ(received("cutd", pid), "0 probe 0\n");
    EXPECT_EQ(readFile(kLevelFile), file + "cutd 0\n");
}

TEST_F(LogInitEnvTest, Sigusr1AppliesTheChangedLevelAndKeepsItWhenTheLineGoes) {
    ASSERT_TRUE(writeFile(kLevelFile, "daemond 2\n"));
    ChildRun const run = runInChild([] {
        sorrelLogInit("daemond");
        std::string problems;
        for (char const* content : {"daemond 5\n", "other 1\n"}) {
            if (!writeFile(kLevelFile, content))
                problems += "cannot rewrite the level file; ";
            std::raise(SIGUSR1);
            syslog(LOG_NOTICE, "probe 5");
            syslog(LOG_INFO, "probe 6");
        }
        return problems;
    });
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(received("daemond", run.pid), "2 [Log level for daemond set to 2]\n"
                                            "5 [Log level for daemond set to 5]\n"
                                            "5 probe 5\n5 probe 5\n");
    EXPECT_EQ(readFile(kLevelFile), "other 1\n");
}

TEST_F(LogInitEnvTest, UnopenableFileOrNoNameLeavesEveryPriorityOn) {
    ASSERT_EQ(mkdir(kLevelFile, 0755), 0); // fopen of a directory fails
    pid_t pid = startAndProbe("daemond");
    EXPECT_EQ(received("daemond", pid).size(), std::string("0 probe 0\n").size() * 8);
    ASSERT_EQ(rmdir(kLevelFile), 0);
    ChildRun const run = runInChild([] {
        sorrelLogInit(nullptr);
        std::raise(SIGUSR1);
        syslog(LOG_DEBUG, "probe 7");
        return std::string();
    });
    EXPECT_EQ(run.output, "");
    std::vector<SyslogMessage> const messages = syslogd->drain();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].text, "probe 7");
    EXPECT_EQ(readFile(kLevelFile), "<unreadable>");
}

} // namespace
