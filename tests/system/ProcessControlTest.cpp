// The process table over the real /proc and over a /proc laid out on a tmpfs by the test.
#include <orvik_utilities/system/ProcessControl.h>

#include "support/AllocationFailure.h"
#include "support/ChildProcess.h"
#include "support/Sandbox.h"
#include "system/ProcessName.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <random>
#include <set>

namespace {

using namespace orvik_test;
using namespace std::string_literals;

// Arguments joined by single spaces, the last terminator dropped; no bytes: "[directory]".
TEST(ProcessControlTest, CommandLinesBecomeNamesAndOnlyDigitsMakeIds) {
    // clang-format off
    std::pair<std::string, std::string> const lines[] = {{"/sbin/daemond\0-f\0/etc/d.conf\0"s, "/sbin/daemond -f /etc/d.conf"},
        {"a\0\0b\0"s, "a  b"}, {"tail \0"s, "tail "}, {"\0"s, ""}, {"x", "x"}, {"", "[0042]"}};
    // clang-format on
    for (auto const& line : lines) {
        char text[orvik::detail::kProcessNameSize];
        std::memcpy(text, line.first.data(), line.first.size());
        orvik::detail::nameFromCommandLine(text, line.first.size(), "0042");
        EXPECT_EQ(text, line.second);
    }
    int32_t pid = -1;
    for (char const* refused : {"", "12a", "-1", "2147483648", "99999999999"})
        EXPECT_FALSE(orvik::detail::pidFromDirectoryName(refused, &pid)) << refused;
    EXPECT_TRUE(orvik::detail::pidFromDirectoryName("2147483647", &pid) && pid == 2147483647);
    ProcessControl table;
    EXPECT_TRUE(table.isNumeric("") && table.isNumeric("0123456789"));
    for (char const* text : {"12a", "a1", "/", ":", static_cast<char const*>(nullptr)})
        EXPECT_FALSE(table.isNumeric(text));
    EXPECT_STREQ(ProcessEntry(1, nullptr).getName(), "");
    AllocationFault fault(0, FailureMode::Always);
    fault.arm();
    EXPECT_STREQ(ProcessEntry(3, "x").getName(), "") << "a name that cannot be copied";
    EXPECT_TRUE(fault.disarm());
}

TEST(ProcessControlTest, TheRealProcShowsAZombieByItsId) {
    pid_t const zombie = fork();
    if (zombie == 0)
        _exit(0);
    siginfo_t info;
    waitid(P_PID, id_t(zombie), &info, WEXITED | WNOWAIT);
    ProcessControl table;
    table.refresh(false);
    ProcessEntry const* const dead = table.getProcessEntryByPid(zombie);
    EXPECT_EQ(dead != nullptr ? dead->getName() : "-", "[" + std::to_string(zombie) + "]");
    waitpid(zombie, nullptr, 0);
}

// "pid:name" per entry in table order, "!" after one not valid, then "#count".
std::string dump(ProcessControl& table) {
    std::string text;
    for (ProcessEntry* entry = table.getNextProcessEntryByName(nullptr, nullptr); entry != nullptr;
         entry = table.getNextProcessEntryByName(nullptr, entry))
        text += std::to_string(entry->getPid()) + ":" + entry->getName() +
                (entry->isValid() ? " " : "! ");
    return text + "#" + std::to_string(table.getNumberOfProcesses());
}

// /proc is a tmpfs; directories are listed in the order made, or its reverse.
class ProcessControlEnvTest : public MountNamespaceTest {
protected:
    void prepare() override { ASSERT_TRUE(ns->tmpfs("/proc")) << ns->error(); }
    static void process(std::string const& directory, std::string const& commandLine) {
        ASSERT_EQ(mkdir(("/proc/" + directory).c_str(), 0755), 0) << directory;
        ASSERT_TRUE(writeFile("/proc/" + directory + "/cmdline", commandLine));
    }
};

TEST_F(ProcessControlEnvTest, ScanSkipsWhatIsNoProcessAndUpdatesKeepEntries) {
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
    ProcessEntry* const seven = table.getProcessEntryByPid(7);
    // Process 7 now runs another program under the same id: its entry stays as it was.
    ASSERT_TRUE(writeFile("/proc/7/cmdline", "changed\0"s));
    process("9", std::string(300, 'L'));
    table.refresh(true);
    EXPECT_EQ(dump(table),
              first.substr(0, first.size() - 2) + "9:" + std::string(255, 'L') + " #2");
    EXPECT_TRUE(table.getProcessEntryByPid(7) == seven && !table.getProcessEntryByPid(12) &&
                table.getNextProcessEntryByName("one", nullptr) == seven &&
                !table.getNextProcessEntryByName("one", seven));
    ProcessEntry const stranger(7, "one"); // not in the table, though alike
    EXPECT_EQ(table.getNextProcessEntryByName(nullptr, &stranger), nullptr);
    EXPECT_TRUE(table.getNumberOfProcessesByName("LL") == 1 &&
                table.getNumberOfProcessesByName(nullptr) == 3);
    ASSERT_EQ(system("rm -r /proc/8 /proc/9"), 0);
    table.refresh(true);
    EXPECT_EQ(dump(table), "7:one #1") << "the kernel thread was never counted";
    // /proc cannot be opened: an update keeps the entries, not valid; a rebuild empties.
    EXPECT_EQ(runInChild([&table] {
                  rlimit const none = {0, 0};
                  setrlimit(RLIMIT_NOFILE, &none);
                  table.refresh(true);
                  std::string const updated = dump(table);
                  table.refresh(false);
                  return updated + " | " + dump(table);
              }).output,
              "7:one! #1 | #0");
    table.refresh(false);
    EXPECT_EQ(dump(table), "7:changed #1") << "a rebuild reads every name again";
    process("9", "again\0"s);
    ASSERT_EQ(system("rm -r /proc/7"), 0);
    table.refresh(true);
    EXPECT_EQ(dump(table), "9:again #1");
    table.cleanup();
    EXPECT_EQ(dump(table), "#0");
}

TEST_F(ProcessControlEnvTest, AllocationFailuresLoseOnlyTheProcessesTheyHit) {
    // Enough to grow the update's index; scattered, so that ids share slots. 7n: kernel threads.
    std::mt19937 random(7);
    std::set<int> pids;
    while (pids.size() < 140)
        pids.insert(2 + int(random() % 32768));
    for (int pid : pids)
        process(std::to_string(pid), pid % 7 == 0 ? ""s : "p"s + std::to_string(pid) + "\0"s);
    ProcessControl reference;
    reference.refresh(false);
    std::string const all = dump(reference);
    int const commandLines = reference.getNumberOfProcessesByName("p");
    EXPECT_EQ(reference.getNumberOfProcesses(), commandLines);
    int const injected = sweepAllocationFailures([&](AllocationFault& fault, bool& hit) {
        ProcessControl table;
        fault.arm();
        table.refresh(false);
        table.refresh(true);
        hit = fault.disarm();
        for (ProcessEntry* entry = table.getNextProcessEntryByName(nullptr, nullptr); entry;
             entry = entry->getNext()) {
            std::string const id = std::to_string(entry->getPid());
            EXPECT_EQ(entry->getName(), entry->getPid() % 7 == 0 ? "[" + id + "]" : "p" + id);
        }
        EXPECT_EQ(table.getNumberOfProcesses(), table.getNumberOfProcessesByName("p"));
        EXPECT_TRUE(hit || dump(table) == all) << "every process found again, in its place";
        table.refresh(true); // with memory back, an update completes the table
        EXPECT_EQ(dump(table).size(), all.size());
        EXPECT_EQ(table.getNumberOfProcesses(), commandLines);
    });
    EXPECT_GT(injected, 0);
}

} // namespace
