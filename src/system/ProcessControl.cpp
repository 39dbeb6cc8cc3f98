#include <orvik_utilities/system/ProcessControl.h>

#include "system/ProcessIndex.h"
#include "system/ProcessName.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

namespace {

using orvik::detail::kCommandLineLimit;
using orvik::detail::kProcessNameSize;

// The process's name (see nameFromCommandLine); false when the process has gone.
bool readName(int32_t pid, char const* directory, char (&text)[kProcessNameSize]) {
    char path[32];
    std::snprintf(path, sizeof path, "/proc/%d/cmdline", static_cast<int>(pid));
    int const fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    std::size_t length = 0;
    while (length < kCommandLineLimit) {
        ssize_t const got = read(fd, text + length, kCommandLineLimit - length);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        length += std::size_t(got);
    }
    close(fd);
    orvik::detail::nameFromCommandLine(text, length, directory);
    return true;
}

// Whether the entry counts as a process with a command line: the same test when an entry
// comes and when it goes keeps the counter equal to the entries it describes.
bool holdsCommandLine(ProcessEntry const* entry) {
    char const* const name = entry->getName();
    if (name[0] != '[')
        return true;
    char bracketed[16];
    std::snprintf(bracketed, sizeof bracketed, "[%d]", entry->getPid());
    return std::strcmp(name, bracketed) != 0;
}

bool beginsWith(char const* text, char const* prefix) {
    return prefix == nullptr || std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

} // namespace

ProcessControl::ProcessControl() : first(nullptr), processCount(0) {}

ProcessControl::~ProcessControl() { ProcessControl::cleanup(); }

void ProcessControl::refresh(bool update) {
    DIR* const proc = opendir("/proc");
    ProcessEntry* tail = nullptr;
    orvik::detail::ProcessIndex known;
    if (update) {
        for (ProcessEntry* entry = first; entry != nullptr; entry = entry->getNext()) {
            entry->setValid(false);
            known.add(entry->getPid(), entry);
            tail = entry;
        }
    } else {
        cleanup();
    }
    if (proc == nullptr)
        return;
    while (dirent const* directory = readdir(proc)) {
        int32_t pid;
        if (directory->d_type != DT_DIR || !isNumeric(directory->d_name) ||
            !orvik::detail::pidFromDirectoryName(directory->d_name, &pid))
            continue;
        if (update) {
            ProcessEntry* seen = known.usable() ? known.find(pid) : getProcessEntryByPid(pid);
            if (seen != nullptr) {
                seen->setValid(true);
                continue;
            }
        }
        char name[kProcessNameSize];
        if (!readName(pid, directory->d_name, name))
            continue;
        ProcessEntry* const entry = new (std::nothrow) ProcessEntry(pid, name);
        if (entry == nullptr)
            continue;
        if (name[0] != '\0' && entry->getName()[0] == '\0') {
            delete entry; // its name could not be copied
            continue;
        }
        if (tail == nullptr)
            first = entry;
        else
            tail->setNext(entry);
        tail = entry;
        if (holdsCommandLine(entry))
            ++processCount;
        if (update)
            known.add(pid, entry);
    }
    closedir(proc);
    if (!update)
        return;
    ProcessEntry* entry = first;
    ProcessEntry* kept = nullptr;
    first = nullptr;
    while (entry != nullptr) {
        ProcessEntry* const next = entry->getNext();
        if (entry->isValid()) {
            entry->setNext(nullptr);
            if (kept == nullptr)
                first = entry;
            else
                kept->setNext(entry);
            kept = entry;
        } else {
            if (holdsCommandLine(entry))
                --processCount;
            delete entry;
        }
        entry = next;
    }
}

ProcessEntry* ProcessControl::getNextProcessEntryByName(char const* name,
                                                        ProcessEntry const* after) const {
    ProcessEntry* entry = first;
    if (after != nullptr) {
        while (entry != nullptr && entry != after)
            entry = entry->getNext();
        if (entry == nullptr)
            return nullptr;
        entry = entry->getNext();
    }
    while (entry != nullptr && !beginsWith(entry->getName(), name))
        entry = entry->getNext();
    return entry;
}

int ProcessControl::getNumberOfProcessesByName(char const* name) const {
    int count = 0;
    for (ProcessEntry const* entry = first; entry != nullptr; entry = entry->getNext())
        if (beginsWith(entry->getName(), name))
            ++count;
    return count;
}

ProcessEntry* ProcessControl::getProcessEntryByPid(int pid) {
    ProcessEntry* entry = first;
    while (entry != nullptr && entry->getPid() != pid)
        entry = entry->getNext();
    return entry;
}

int ProcessControl::getNumberOfProcesses() const { return processCount; }

void ProcessControl::cleanup() {
    processCount = 0;
    ProcessEntry* entry = first;
    first = nullptr;
    while (entry != nullptr) {
        ProcessEntry* const next = entry->getNext();
        delete entry;
        entry = next;
    }
}

bool ProcessControl::isNumeric(char const* text) const {
    if (text == nullptr)
        return false;
    for (; *text != '\0'; ++text)
        if (*text < '0' || *text > '9')
            return false;
    return true;
}
