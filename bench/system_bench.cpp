// The process table against a plain scan doing the same work (opendir/readdir, then
// fopen/fread of at most 255 bytes per process, NULs joined, one node and one name
// allocated per process), at the machine's own process count and with 1,000 extra
// sleeping children; and the updating refresh against the rebuilding one.
#include <orvik_utilities/system/ProcessControl.h>

#include <benchmark/benchmark.h>

#include <dirent.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// Sleeping children, made once and killed at exit (or when this program dies).
std::vector<pid_t> children;

void killChildren() {
    for (pid_t pid : children)
        kill(pid, SIGKILL);
    for (pid_t pid : children)
        waitpid(pid, nullptr, 0);
    children.clear();
}

void haveChildren(std::size_t count) {
    if (children.empty())
        std::atexit(killChildren);
    while (children.size() < count) {
        pid_t const pid = fork();
        if (pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (;;)
                pause();
        }
        if (pid < 0)
            break;
        children.push_back(pid);
    }
    while (children.size() > count) {
        kill(children.back(), SIGKILL);
        waitpid(children.back(), nullptr, 0);
        children.pop_back();
    }
}

struct Node {
    int pid;
    char* name;
    Node* next;
};

void freeNodes(Node* node) {
    while (node != nullptr) {
        Node* const next = node->next;
        std::free(node->name);
        std::free(node);
        node = next;
    }
}

bool numeric(char const* text) {
    for (; *text != '\0'; ++text)
        if (*text < '0' || *text > '9')
            return false;
    return true;
}

Node* plainScan() {
    Node* first = nullptr;
    Node** tail = &first;
    DIR* proc = opendir("/proc");
    if (proc == nullptr)
        return nullptr;
    while (dirent* entry = readdir(proc)) {
        if (entry->d_type != DT_DIR || !numeric(entry->d_name))
            continue;
        int const pid = std::atoi(entry->d_name);
        char path[32];
        std::snprintf(path, sizeof path, "/proc/%d/cmdline", pid);
        std::FILE* file = std::fopen(path, "r");
        if (file == nullptr)
            continue;
        char text[258] = {0};
        std::size_t length = std::fread(text, 1, 255, file);
        std::fclose(file);
        if (length == 0) {
            std::snprintf(text, sizeof text, "[%s]", entry->d_name);
        } else {
            for (std::size_t i = 0; i < length; ++i)
                if (text[i] == '\0')
                    text[i] = ' ';
            if (text[length - 1] == ' ')
                text[--length] = '\0';
        }
        Node* const node = static_cast<Node*>(std::malloc(sizeof(Node)));
        node->pid = pid;
        node->name = strdup(text);
        node->next = nullptr;
        *tail = node;
        tail = &node->next;
    }
    closedir(proc);
    return first;
}

void plainScanBench(benchmark::State& state) {
    haveChildren(std::size_t(state.range(0)));
    Node* table = nullptr;
    for (auto _ : state) {
        freeNodes(table);
        table = plainScan();
        benchmark::DoNotOptimize(table);
    }
    freeNodes(table);
}

void refreshRebuild(benchmark::State& state) {
    haveChildren(std::size_t(state.range(0)));
    ProcessControl table;
    for (auto _ : state) {
        table.refresh(false);
        benchmark::DoNotOptimize(table.getNumberOfProcesses());
    }
}

void refreshUpdate(benchmark::State& state) {
    haveChildren(std::size_t(state.range(0)));
    ProcessControl table;
    table.refresh(false);
    for (auto _ : state) {
        table.refresh(true);
        benchmark::DoNotOptimize(table.getNumberOfProcesses());
    }
}

BENCHMARK(plainScanBench)->Arg(0)->Arg(1000);
BENCHMARK(refreshRebuild)->Arg(0)->Arg(1000);
BENCHMARK(refreshUpdate)->Arg(0)->Arg(1000);

} // namespace
