// The process table over two kinds of /proc: a tmpfs laid out by the test (exact control
// of names, vanished processes and odd entries), and the real /proc of a private PID
// namespace whose process 1 is a child of the test and whose other processes are that
// child's own children, so that the expected table is exact.
#include <orvik_utilities/system/ProcessControl.h>

#include "support/AllocationFailure.h"
#include "support/ChildProcess.h"
#include "support/MountNamespace.h"
#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace orvik_test;

TEST(ProcessControlTest, LayoutSlotsAndEntries) {
    EXPECT_EQ(sizeof(ProcessEntry), sizeof(void*) == 4 ? 20u : 40u);
    EXPECT_EQ(sizeof(ProcessControl), sizeof(void*) == 4 ? 12u : 24u);
    EXPECT_EQ(virtualSlot(&ProcessEntry::getPid), 2);
    EXPECT_EQ(virtualSlot(&ProcessEntry::getName), 3);
    EXPECT_EQ(virtualSlot(&ProcessEntry::getNext), 4);
    EXPECT_EQ(virtualSlot(&ProcessEntry::setNext), 5);
    EXPECT_EQ(virtualSlot(&ProcessEntry::setValid), 6);
    EXPECT_EQ(virtualSlot(&ProcessEntry::isValid), 7);
    EXPECT_EQ(virtualSlot(&ProcessControl::refresh), 2);
    EXPECT_EQ(virtualSlot(&ProcessControl::getNextProcessEntryByName), 3);
    EXPECT_EQ(virtualSlot(&ProcessControl::getNumberOfProcessesByName), 4);
    EXPECT_EQ(virtualSlot(&ProcessControl::getProcessEntryByPid), 5);
    EXPECT_EQ(virtualSlot(&ProcessControl::getNumberOfProcesses), 6);
    EXPECT_EQ(virtualSlot(&ProcessControl::cleanup), 7);
    EXPECT_EQ(virtualSlot(&ProcessControl::isNumeric), -1);

    char name[] = "daemond -f";
    ProcessEntry entry(42, name);
    name[0] = 'X';
    EXPECT_STREQ(entry.getName(), "daemond -f") << "a copy";
    EXPECT_TRUE(entry.isValid());
    EXPECT_EQ(entry.getNext(), nullptr);
    entry.setNext(&entry);
    entry.setValid(false);
    EXPECT_EQ(entry.getNext(), &entry);
    EXPECT_FALSE(entry.isValid());
    EXPECT_STREQ(ProcessEntry(1, nullptr).getName(), "");
    AllocationFault fault(0, FailureMode::Always);
    fault.arm();
    ProcessEntry starved(3, "x");
    EXPECT_TRUE(fault.disarm());
    EXPECT_STREQ(starved.getName(), "");

    ProcessControl table;
    EXPECT_TRUE(table.isNumeric(""));
    EXPECT_TRUE(table.isNumeric("0123456789"));
    for (char const* text : {"12a", "a1", "-1", " 1", "1 ", "/", ":"})
        EXPECT_FALSE(table.isNumeric(text)) << text;
    EXPECT_FALSE(table.isNumeric(nullptr));
    EXPECT_EQ(table.getNumberOfProcesses(), 0);
    EXPECT_EQ(table.getNextProcessEntryByName(nullptr, nullptr), nullptr);
}

// "pid:name" per entry in table order, "!" after an entry not valid, then "#count".
std::string dump(ProcessControl& table) {
    std::string text;
    for (ProcessEntry* entry = table.getNextProcessEntryByName(nullptr, nullptr);
         entry != nullptr; entry = entry->getNext())
        text += std::to_string(entry->getPid()) + ":" + entry->getName() +
                (entry->isValid() ? "" : "!") + " ";
    return text + "#" + std::to_string(table.getNumberOfProcesses());
}

std::vector<ProcessEntry*> entries(ProcessControl& table) {
    std::vector<ProcessEntry*> all;
    for (ProcessEntry* entry = table.getNextProcessEntryByName(nullptr, nullptr);
         entry != nullptr; entry = entry->getNext())
        all.push_back(entry);
    return all;
}

// /proc is an empty tmpfs in which the tests lay out process directories.
class ProcessControlFakeProcEnvTest : public MountNamespaceTest {
protected:
    void prepare() override { ASSERT_TRUE(ns->tmpfs("/proc")); }
    static void process(std::string const& directory, std::string const& commandLine) {
        ASSERT_EQ(mkdir(("/proc/" + directory).c_str(), 0755), 0) << directory;
        ASSERT_TRUE(writeFile("/proc/" + directory + "/cmdline", commandLine));
    }
    static void gone(std::string const& directory) {
        ASSERT_EQ(system(("rm -r /proc/" + directory).c_str()), 0);
    }
    // Entries by id; the order of a tmpfs directory is its own business.
    static std::map<int, std::string> byPid(ProcessControl& table) {
        std::map<int, std::string> names;
        for (ProcessEntry* entry : entries(table))
            names[entry->getPid()] = entry->getName();
        return names;
    }
};

TEST_F(ProcessControlFakeProcEnvTest, NamesJoinArgumentsWithinTheReadAndCountOnlyCommandLines) {
    using namespace std::string_literals;
    process("7", "/usr/sbin/daemond\0-f\0/etc/daemond.conf\0"s);
    process("8", "");                                                       // kernel thread
    process("9", std::string(250, 'a') + "\0bcdefgh\0"s + std::string(40, 'z')); // 300 bytes
    process("10", "a\0\0b\0"s);      // an empty argument
    process("11", "tail \0"s);        // only the last space goes
    process("15", "\0"s);             // an empty name, yet a command line
    process("2147483647", "max\0"s);
    ASSERT_EQ(mkdir("/proc/12", 0755), 0); // gone before its command line was read
    process("13a", "not a process");
    process("99999999999", "beyond int");
    ASSERT_TRUE(writeFile("/proc/14", "a file"));
    ASSERT_TRUE(writeFile("/proc/self", "a file"));

    ProcessControl table;
    table.refresh(false);
    std::map<int, std::string> const expected = {
        {7, "/usr/sbin/daemond -f /etc/daemond.conf"},
        {8, "[8]"},
        {9, std::string(250, 'a') + " bcde"},
        {10, "a  b"},
        {11, "tail "},
        {15, ""},
        {2147483647, "max"}};
    EXPECT_EQ(byPid(table), expected);
    EXPECT_EQ(table.getNumberOfProcesses(), 6);
    EXPECT_EQ(table.getNumberOfProcessesByName(nullptr), 7);
    EXPECT_EQ(table.getNumberOfProcessesByName(""), 7);
    EXPECT_EQ(table.getNumberOfProcessesByName("a"), 2);
    EXPECT_EQ(table.getNumberOfProcessesByName("/usr/sbin/daemond -f /etc/daemond.conf"), 1);
    EXPECT_EQ(table.getNumberOfProcessesByName("/usr/sbin/daemond -f /etc/daemond.conf "), 0);
    EXPECT_EQ(table.getNumberOfProcessesByName("daemond"), 0) << "only at the start";
    EXPECT_EQ(table.getNumberOfProcessesByName("[8] "), 0);
    ASSERT_NE(table.getProcessEntryByPid(2147483647), nullptr);
    EXPECT_STREQ(table.getProcessEntryByPid(2147483647)->getName(), "max");
    EXPECT_EQ(table.getProcessEntryByPid(12), nullptr);

    // The same layout, rebuilt: nothing accumulates.
    table.refresh(false);
    EXPECT_EQ(byPid(table), expected);
    EXPECT_EQ(table.getNumberOfProcesses(), 6);
}

TEST_F(ProcessControlFakeProcEnvTest, UpdatesKeepEntriesAndTheCounterMatchesThem) {
    using namespace std::string_literals;
    process("7", "one\0"s);
    process("8", "");
    ProcessControl table;
    table.refresh(true); // an update of the empty table builds it
    std::vector<ProcessEntry*> const before = entries(table);
    ASSERT_EQ(before.size(), 2u);
    EXPECT_EQ(table.getNumberOfProcesses(), 1);

    // Process 7 now runs another program under the same id: its entry stays as it was.
    ASSERT_TRUE(writeFile("/proc/7/cmdline", "changed\0"s));
    process("9", "nine\0"s);
    table.refresh(true);
    std::vector<ProcessEntry*> const after = entries(table);
    ASSERT_EQ(after.size(), 3u);
    EXPECT_EQ(std::vector<ProcessEntry*>(after.begin(), after.begin() + 2), before);
    EXPECT_STREQ(table.getProcessEntryByPid(7)->getName(), "one");
    EXPECT_EQ(after[2]->getPid(), 9) << "new processes come last";
    EXPECT_EQ(table.getNumberOfProcesses(), 2);
    for (ProcessEntry* entry : after)
        EXPECT_TRUE(entry->isValid());

    gone("7");
    gone("8");
    table.refresh(true);
    EXPECT_EQ(dump(table), "9:nine #1") << "the kernel thread was never counted";
    gone("9");
    table.refresh(true);
    EXPECT_EQ(dump(table), "#0");
    process("7", "again\0"s);
    table.refresh(true);
    EXPECT_EQ(dump(table), "7:again #1");
    table.cleanup();
    EXPECT_EQ(dump(table), "#0");
}

TEST_F(ProcessControlFakeProcEnvTest, UnopenableProcKeepsAnUpdatedTableMarkedNotValid) {
    using namespace std::string_literals;
    process("7", "one\0"s);
    process("8", "");
    ChildRun const run = runInChild([] {
        ProcessControl table;
        table.refresh(true);
        std::string report = dump(table);
        // Root reads any directory; without the override capabilities it is refused.
        __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct data[2];
        if (chmod("/proc", 0) != 0 || syscall(SYS_capget, &header, data) != 0)
            return std::string("<no chmod or capget>");
        data[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        if (syscall(SYS_capset, &header, data) != 0)
            return std::string("<no capset>");
        table.refresh(true);
        report += " | " + dump(table);
        table.refresh(false);
        return report + " | " + dump(table);
    });
    std::string const layout = run.output.substr(0, run.output.find(' ')) == "7:one" ? "7:one 8:[8]"
                                                                                   : "8:[8] 7:one";
    EXPECT_EQ(run.output, layout + " #1 | " +
                              (layout == "7:one 8:[8]" ? "7:one! 8:[8]!" : "8:[8]! 7:one!") +
                              " #1 | #0");
}

TEST_F(ProcessControlFakeProcEnvTest, AllocationFailuresLoseOnlyTheProcessesTheyHit) {
    using namespace std::string_literals;
    for (int pid = 100; pid < 240; ++pid) // enough to make the update's index grow
        process(std::to_string(pid), pid % 7 == 0 ? ""s : "p"s + std::to_string(pid) + "\0-x\0"s);
    ProcessControl reference;
    reference.refresh(false);
    std::string const full = dump(reference);
    int const injected = sweepAllocationFailures([&](AllocationFault& fault, bool& hit) {
        ProcessControl table;
        fault.arm();
        table.refresh(false);
        table.refresh(true);
        hit = fault.disarm();
        // Whatever was lost, what is there is right and counted right.
        int withCommandLine = 0;
        for (ProcessEntry* entry : entries(table)) {
            bool const kernelThread = entry->getPid() % 7 == 0;
            withCommandLine += kernelThread ? 0 : 1;
            EXPECT_EQ(entry->getName(), kernelThread
                                            ? "[" + std::to_string(entry->getPid()) + "]"
                                            : "p" + std::to_string(entry->getPid()) + " -x");
        }
        EXPECT_EQ(table.getNumberOfProcesses(), withCommandLine);
        table.refresh(true); // with memory back, an update completes the table
        EXPECT_EQ(dump(table).size(), full.size());
        EXPECT_EQ(table.getNumberOfProcesses(), reference.getNumberOfProcesses());
    });
    EXPECT_GT(injected, 0);
}

// Runs body as process 1 of a new PID namespace with its own /proc and returns what it
// returns. Every process of the namespace dies with process 1, whatever happens.
std::string inPidNamespace(std::function<std::string()> const& body) {
    ChildRun const outer = runInChild([&] {
        if (unshare(CLONE_NEWPID | CLONE_NEWNS) != 0)
            return std::string("<unshare: ") + std::strerror(errno) + ">";
        if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            return std::string("<private mounts: ") + std::strerror(errno) + ">";
        return runInChild([&] {
                   if (mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC,
                             nullptr) != 0)
                       return std::string("<mount proc: ") + std::strerror(errno) + ">";
                   return body();
               })
            .output;
    });
    return outer.output;
}

// A sleeping /bin/sleep with these arguments (the first is its command name), started
// from the namespace's process 1; returns once the program runs, so its command line is
// in place. -1 when it could not be started.
pid_t sleeper(std::vector<std::string> const& arguments) {
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0)
        return -1;
    pid_t const pid = fork();
    if (pid == 0) {
        std::vector<char*> argv;
        for (std::string const& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        execv("/bin/sleep", argv.data());
        _exit(127);
    }
    close(ready[1]);
    char byte;
    while (read(ready[0], &byte, 1) < 0 && errno == EINTR) {
    }
    close(ready[0]);
    return pid;
}

void stop(pid_t pid) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

// A child that has exited but is not reaped: a zombie, without a command line.
pid_t zombie() {
    pid_t const pid = fork();
    if (pid == 0)
        _exit(0);
    siginfo_t info;
    waitid(P_PID, id_t(pid), &info, WEXITED | WNOWAIT);
    return pid;
}

class ProcessControlPidNamespaceEnvTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (geteuid() != 0)
            GTEST_SKIP() << "needs root: runs the table in a private PID namespace with its own "
                            "/proc";
    }
};

TEST_F(ProcessControlPidNamespaceEnvTest, RebuildAndUpdateSeeExactlyTheNamespacesProcesses) {
    std::string const output = inPidNamespace([] {
        std::string const longName(250, 'L');
        std::string report;
        pid_t const known = sleeper({"sleep", "1000"});
        pid_t const empty = sleeper({"", "1000"});
        pid_t const longer = sleeper({longName, "123456789", "1000"});
        pid_t const dead = zombie();
        ProcessControl table;
        table.refresh(false);
        // Process 1 is this test program, whose command line differs between hosts.
        std::string const init = std::string("1:") + table.getProcessEntryByPid(1)->getName();
        report += dump(table).replace(0, init.size(), "1:<init>");
        std::vector<ProcessEntry*> const before = entries(table);
        stop(known);
        waitpid(dead, nullptr, 0);
        pid_t const later = sleeper({"sleep", "2000"});
        table.refresh(true);
        std::vector<ProcessEntry*> const after = entries(table);
        report += " | " + std::string(after.size() == 4 && after[0] == before[0] &&
                                              after[1] == before[2] && after[2] == before[3]
                                          ? "same"
                                          : "other") +
                  " objects | " + dump(table).substr(init.size() + 1);
        report += " | by name " + std::to_string(table.getNumberOfProcessesByName("sleep"));
        stop(empty);
        stop(longer);
        stop(later);
        return std::to_string(known) + " " + std::to_string(empty) + " " +
               std::to_string(longer) + " " + std::to_string(dead) + " " +
               std::to_string(later) + " | " + report;
    });
    // Ids climb, though not always by one (an emulator's threads take ids too).
    std::istringstream ids(output);
    std::string known, empty, longer, dead, later;
    ids >> known >> empty >> longer >> dead >> later;
    std::string const longName = std::string(250, 'L') + " 1234";
    EXPECT_EQ(output, known + " " + empty + " " + longer + " " + dead + " " + later +
                          " | 1:<init> " + known + ":sleep 1000 " + empty + ": 1000 " + longer +
                          ":" + longName + " " + dead + ":[" + dead + "] #4 | same objects | " +
                          empty + ": 1000 " + longer + ":" + longName + " " + later +
                          ":sleep 2000 #4 | by name 1");
    EXPECT_LT(std::stoi(known), std::stoi(later)) << output;
}

TEST_F(ProcessControlPidNamespaceEnvTest, AReusedProcessIdKeepsTheOldEntryUntilARebuild) {
    std::string const output = inPidNamespace([] {
        pid_t const first = sleeper({"alpha", "1000"});
        ProcessControl table;
        table.refresh(true);
        ProcessEntry const* const entry = table.getProcessEntryByPid(first);
        stop(first);
        // The next process takes the same id.
        std::string const last = std::to_string(first - 1);
        int const fd = open("/proc/sys/kernel/ns_last_pid", O_WRONLY | O_CLOEXEC);
        if (fd < 0 || write(fd, last.c_str(), last.size()) != ssize_t(last.size()))
            return std::string("<ns_last_pid: ") + std::strerror(errno) + ">";
        close(fd);
        pid_t const second = sleeper({"beta", "1000"});
        table.refresh(true);
        std::string report = std::to_string(first) + " " + std::to_string(second) + " " +
                             (table.getProcessEntryByPid(second) == entry ? "same " : "other ") +
                             table.getProcessEntryByPid(second)->getName();
        table.refresh(false);
        report += std::string(" | ") + table.getProcessEntryByPid(second)->getName();
        stop(second);
        return report;
    });
    std::string const id = output.substr(0, output.find(' '));
    EXPECT_EQ(output, id + " " + id + " same alpha 1000 | beta 1000");
}

} // namespace
