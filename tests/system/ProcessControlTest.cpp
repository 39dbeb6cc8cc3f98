// The process table over two kinds of /proc: a tmpfs laid out by the test (vanished
// processes, odd entries, memory running out), and the real /proc of a private PID
// namespace whose processes are all the test's own, so that the expected table is exact.
#include <orvik_utilities/system/ProcessControl.h>

#include "support/AllocationFailure.h"
#include "support/ChildProcess.h"
#include "support/Sandbox.h"
#include "support/VirtualSlot.h"
#include "system/ProcessName.h"

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
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace orvik_test;
using namespace std::string_literals;

TEST(ProcessControlTest, LayoutSlotsNamesAndEntries) {
    EXPECT_EQ(sizeof(ProcessEntry), sizeof(void*) == 4 ? 20u : 40u);
    EXPECT_EQ(sizeof(ProcessControl), sizeof(void*) == 4 ? 12u : 24u);
    EXPECT_EQ(virtualSlot(&ProcessEntry::getPid), 2);
    EXPECT_EQ(virtualSlot(&ProcessEntry::setNext), 5);
    EXPECT_EQ(virtualSlot(&ProcessEntry::isValid), 7);
    EXPECT_EQ(virtualSlot(&ProcessControl::refresh), 2);
    EXPECT_EQ(virtualSlot(&ProcessControl::getProcessEntryByPid), 5);
    EXPECT_EQ(virtualSlot(&ProcessControl::cleanup), 7);

    struct {
        std::string bytes, name;
    } const lines[] = {
        {"/usr/sbin/daemond\0-f\0/etc/daemond.conf\0"s, "/usr/sbin/daemond -f /etc/daemond.conf"},
        {"a\0\0b\0"s, "a  b"},
        {"tail \0"s, "tail "},
        {"\0"s, ""},
        {"x"s, "x"},
        {"", "[0042]"}};
    for (auto const& line : lines) {
        char text[orvik::detail::kProcessNameSize];
        std::memcpy(text, line.bytes.data(), line.bytes.size());
        orvik::detail::nameFromCommandLine(text, line.bytes.size(), "0042");
        EXPECT_EQ(text, line.name);
    }
    int32_t pid = -1;
    for (char const* refused : {"", "12a", "-1", "2147483648", "99999999999"})
        EXPECT_FALSE(orvik::detail::pidFromDirectoryName(refused, &pid)) << refused;
    EXPECT_TRUE(orvik::detail::pidFromDirectoryName("2147483647", &pid));
    EXPECT_EQ(pid, 2147483647);

    ProcessControl table;
    EXPECT_TRUE(table.isNumeric(""));
    EXPECT_TRUE(table.isNumeric("0123456789"));
    for (char const* text : {"12a", "a1", "/", ":", static_cast<char const*>(nullptr)})
        EXPECT_FALSE(table.isNumeric(text));

    ProcessEntry entry(42, std::string("daemond").c_str());
    EXPECT_STREQ(entry.getName(), "daemond");
    EXPECT_TRUE(entry.isValid());
    EXPECT_STREQ(ProcessEntry(1, nullptr).getName(), "");
    AllocationFault fault(0, FailureMode::Always);
    fault.arm();
    EXPECT_STREQ(ProcessEntry(3, "x").getName(), "");
    EXPECT_TRUE(fault.disarm());
}

// "pid:name" per entry in table order, "!" after one not valid, then "#count".
std::string dump(ProcessControl& table) {
    std::string text;
    for (ProcessEntry* entry = table.getNextProcessEntryByName(nullptr, nullptr); entry != nullptr;
         entry = entry->getNext())
        text += std::to_string(entry->getPid()) + ":" + entry->getName() +
                (entry->isValid() ? " " : "! ");
    return text + "#" + std::to_string(table.getNumberOfProcesses());
}

std::vector<ProcessEntry*> entries(ProcessControl& table) {
    std::vector<ProcessEntry*> all;
    for (ProcessEntry* entry = table.getNextProcessEntryByName(nullptr, nullptr); entry != nullptr;
         entry = table.getNextProcessEntryByName(nullptr, entry))
        all.push_back(entry);
    return all;
}

// /proc is an empty tmpfs in which the tests lay out process directories, one at a time
// so that the directory's order is the order they were made in.
class ProcessControlFakeProcEnvTest : public MountNamespaceTest {
protected:
    void prepare() override { ASSERT_TRUE(ns->tmpfs("/proc")) << ns->error(); }
    static void process(std::string const& directory, std::string const& commandLine) {
        ASSERT_EQ(mkdir(("/proc/" + directory).c_str(), 0755), 0) << directory;
        ASSERT_TRUE(writeFile("/proc/" + directory + "/cmdline", commandLine));
    }
    static void gone(std::string const& directory) {
        ASSERT_EQ(system(("rm -r /proc/" + directory).c_str()), 0);
    }
};

TEST_F(ProcessControlFakeProcEnvTest, ScanSkipsWhatIsNoProcessAndUpdatesKeepEntries) {
    process("7", "one\0"s);
    process("8", "");                      // a kernel thread
    ASSERT_EQ(mkdir("/proc/12", 0755), 0); // gone before its command line was read
    process("13a", "not a process");
    process("99999999999", "beyond int");
    ASSERT_TRUE(writeFile("/proc/14", "a file"));
    ProcessControl table;
    table.refresh(false);
    std::string const first = dump(table);
    EXPECT_TRUE(first == "7:one 8:[8] #1" || first == "8:[8] 7:one #1") << first;
    std::vector<ProcessEntry*> const before = entries(table);

    // Process 7 now runs another program under the same id: its entry stays as it was.
    ASSERT_TRUE(writeFile("/proc/7/cmdline", "changed\0"s));
    process("9", "nine\0"s);
    table.refresh(true);
    EXPECT_EQ(dump(table), first.substr(0, first.size() - 2) + "9:nine #2") << "new ones last";
    std::vector<ProcessEntry*> const after = entries(table);
    EXPECT_EQ(std::vector<ProcessEntry*>(after.begin(), after.begin() + 2), before);
    EXPECT_EQ(table.getProcessEntryByPid(7), table.getNextProcessEntryByName("one", nullptr));
    EXPECT_EQ(table.getNumberOfProcessesByName(nullptr), 3);
    EXPECT_EQ(table.getNextProcessEntryByName("one", table.getProcessEntryByPid(7)), nullptr);

    gone("8");
    gone("9");
    table.refresh(true);
    EXPECT_EQ(dump(table), "7:one #1") << "the kernel thread was never counted";
    // /proc refused: an update keeps the entries, not valid; a rebuild empties the table.
    ChildRun const run = runInChild([&table] {
        __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct data[2];
        if (chmod("/proc", 0) != 0 || syscall(SYS_capget, &header, data) != 0)
            return "<no chmod or capget>"s;
        data[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        if (syscall(SYS_capset, &header, data) != 0)
            return "<no capset>"s;
        table.refresh(true);
        std::string const updated = dump(table);
        table.refresh(false);
        return updated + " | " + dump(table);
    });
    EXPECT_EQ(run.output, "7:one! #1 | #0");
    gone("7");
    table.refresh(true);
    EXPECT_EQ(dump(table), "#0");
    process("9", "again\0"s);
    table.refresh(true);
    table.cleanup();
    EXPECT_EQ(dump(table), "#0");
}

TEST_F(ProcessControlFakeProcEnvTest, AllocationFailuresLoseOnlyTheProcessesTheyHit) {
    // Enough to make the update's index grow; scattered, so that some ids share slots.
    int commandLines = 0;
    std::mt19937 random(7);
    std::set<int> pids;
    while (pids.size() < 140)
        pids.insert(2 + int(random() % 32768));
    for (int pid : pids) {
        commandLines += pid % 7 == 0 ? 0 : 1;
        process(std::to_string(pid), pid % 7 == 0 ? ""s : "p"s + std::to_string(pid) + "\0"s);
    }
    ProcessControl reference;
    reference.refresh(false);
    EXPECT_EQ(reference.getNumberOfProcesses(), commandLines);
    int const injected = sweepAllocationFailures([&](AllocationFault& fault, bool& hit) {
        ProcessControl table;
        fault.arm();
        table.refresh(false);
        table.refresh(true);
        hit = fault.disarm();
        int withCommandLine = 0;
        for (ProcessEntry* entry : entries(table)) {
            std::string const id = std::to_string(entry->getPid());
            bool const kernelThread = entry->getPid() % 7 == 0;
            withCommandLine += kernelThread ? 0 : 1;
            EXPECT_EQ(entry->getName(), kernelThread ? "[" + id + "]" : "p" + id);
        }
        EXPECT_EQ(table.getNumberOfProcesses(), withCommandLine);
        if (!hit) { // every process found again, in its place
            EXPECT_EQ(dump(table), dump(reference));
        }
        table.refresh(true); // with memory back, an update completes the table
        EXPECT_EQ(dump(table).size(), dump(reference).size());
        EXPECT_EQ(table.getNumberOfProcesses(), commandLines);
    });
    EXPECT_GT(injected, 0);
}

// Runs body as process 1 of a new PID namespace with its own /proc and returns what it
// returns. Every process of the namespace dies with process 1, whatever happens.
std::string inPidNamespace(std::function<std::string()> const& body) {
    return runInChild([&] {
               if (unshare(CLONE_NEWPID | CLONE_NEWNS) != 0 ||
                   mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
                   return "<namespaces: "s + std::strerror(errno) + ">";
               return runInChild([&] {
                          if (mount("proc", "/proc", "proc", 0, nullptr) != 0)
                              return "<mount proc: "s + std::strerror(errno) + ">";
                          return body();
                      })
                   .output;
           })
        .output;
}

// /bin/sleep with these arguments (the first is its command name), started by process 1 of
// the namespace; returns once the program runs, so its command line is in place.
std::string sleeper(std::vector<std::string> arguments) {
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0)
        return "-1";
    pid_t const pid = fork();
    if (pid == 0) {
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(&argument[0]);
        argv.push_back(nullptr);
        execv("/bin/sleep", argv.data());
        _exit(127);
    }
    close(ready[1]);
    char byte;
    while (read(ready[0], &byte, 1) < 0 && errno == EINTR) {
    }
    close(ready[0]);
    return std::to_string(pid);
}

void stop(std::string const& pid) {
    kill(std::stoi(pid), SIGKILL);
    waitpid(std::stoi(pid), nullptr, 0);
}

class ProcessControlPidNamespaceEnvTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (geteuid() != 0)
            GTEST_SKIP() << "needs root: a private PID namespace with its own /proc";
    }
};

TEST_F(ProcessControlPidNamespaceEnvTest, RebuildAndUpdateSeeExactlyTheNamespacesProcesses) {
    std::string const output = inPidNamespace([] {
        std::string const known = sleeper({"sleep", "1000"});
        std::string const empty = sleeper({"", "1000"});
        std::string const longer = sleeper({std::string(250, 'L'), "123456789", "1000"});
        pid_t const zombie = fork(); // exits unreaped: no command line
        if (zombie == 0)
            _exit(0);
        siginfo_t info;
        waitid(P_PID, id_t(zombie), &info, WEXITED | WNOWAIT);
        ProcessControl table;
        table.refresh(false);
        std::string const before = dump(table);
        std::vector<ProcessEntry*> const objects = entries(table);
        stop(known);
        waitpid(zombie, nullptr, 0);
        std::string const later = sleeper({"sleep", "2000"});
        table.refresh(true);
        std::vector<ProcessEntry*> const kept = entries(table);
        bool const same = kept.size() == 4 && kept[0] == objects[0] && kept[1] == objects[2] &&
                          kept[2] == objects[3];
        // Process 1 is this test program, whose command line differs between hosts.
        std::string const init = "1:"s + objects[0]->getName() + " ";
        return known + " " + empty + " " + longer + " " + std::to_string(zombie) + " " + later +
               " | " + before.substr(init.size()) + " | " + (same ? "same" : "other") + " | " +
               dump(table).substr(init.size()) + " | " +
               std::to_string(table.getNumberOfProcessesByName("sleep"));
    });
    // Ids climb, though not always by one (an emulator's threads take ids too).
    std::istringstream ids(output);
    std::string known, empty, longer, zombie, later;
    ids >> known >> empty >> longer >> zombie >> later;
    std::string const cut = ":" + std::string(250, 'L') + " 1234 ";
    EXPECT_EQ(output, known + " " + empty + " " + longer + " " + zombie + " " + later + " | " +
                          known + ":sleep 1000 " + empty + ": 1000 " + longer + cut + zombie +
                          ":[" + zombie + "] #4 | same | " + empty + ": 1000 " + longer + cut +
                          later + ":sleep 2000 #4 | 1");
}

TEST_F(ProcessControlPidNamespaceEnvTest, AReusedProcessIdKeepsTheOldEntryUntilARebuild) {
    std::string const output = inPidNamespace([] {
        std::string const first = sleeper({"alpha", "1000"});
        ProcessControl table;
        table.refresh(true);
        ProcessEntry const* const entry = table.getProcessEntryByPid(std::stoi(first));
        stop(first);
        std::string const last = std::to_string(std::stoi(first) - 1);
        int const fd = open("/proc/sys/kernel/ns_last_pid", O_WRONLY | O_CLOEXEC);
        if (fd < 0 || write(fd, last.c_str(), last.size()) != ssize_t(last.size()))
            return "<ns_last_pid: "s + std::strerror(errno) + ">";
        close(fd);
        std::string const second = sleeper({"beta", "1000"});
        table.refresh(true);
        ProcessEntry* const now = table.getProcessEntryByPid(std::stoi(second));
        std::string report =
            first + " " + second + " " + (now == entry ? "same " : "other ") + now->getName();
        table.refresh(false);
        return report + " | " + table.getProcessEntryByPid(std::stoi(second))->getName();
    });
    std::string const id = output.substr(0, output.find(' '));
    EXPECT_EQ(output, id + " " + id + " same alpha 1000 | beta 1000");
}

} // namespace
