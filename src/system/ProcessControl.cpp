// The process table: /proc scanned into a list of entries, kept in step by updating refreshes.
#include <orvik_utilities/system/ProcessControl.h>

#include "internal/Descriptor.h"
#include "internal/RetryAfterSignal.h"
#include "system/ProcessIndex.h"
#include "system/ProcessName.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

namespace {

using orvik::detail::kCommandLineLimit;
using orvik::detail::kProcessNameSize;
using orvik::detail::ProcessIndex;

constexpr char kProcPath[] = "/proc";

// The process's name (see nameFromCommandLine); false when the process has gone.
bool readName(int32_t pid, char const* directory, char (&text)[kProcessNameSize]) {
    char path[32];
    std::snprintf(path, sizeof path, "%s/%d/cmdline", kProcPath, static_cast<int>(pid));
    orvik::detail::Descriptor const file = orvik::detail::openFile(path, O_RDONLY);
    if (!file.isOpen())
        return false;
    std::size_t length = 0;
    while (length < kCommandLineLimit) {
        ssize_t const got = orvik::detail::retryAfterSignal(
            [&] { return read(file.get(), text + length, kCommandLineLimit - length); });
        if (got <= 0)
            break;
        length += std::size_t(got);
    }
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

// The table's list as a refresh grows it: new entries go to the tail and are counted.
struct ProcessList {
    ProcessEntry*& first;
    int& count;
    ProcessEntry* tail;

    void append(ProcessEntry* entry) {
        if (tail == nullptr)
            first = entry;
        else
            tail->setNext(entry);
        tail = entry;
        if (holdsCommandLine(entry))
            ++count;
    }
};

// Marking: every entry is not valid until the scan sees its process again, and is indexed
// by id for that scan. Returns the last entry.
ProcessEntry* markAll(ProcessEntry* first, ProcessIndex& known) {
    ProcessEntry* tail = nullptr;
    for (ProcessEntry* entry = first; entry != nullptr; entry = entry->getNext()) {
        entry->setValid(false);
        known.add(entry->getPid(), entry);
        tail = entry;
    }
    return tail;
}

// A new entry for the process; null when the process has gone or the entry (or its copy
// of the name) cannot be allocated.
ProcessEntry* newEntry(int32_t pid, char const* directoryName) {
    char name[kProcessNameSize];
    if (!readName(pid, directoryName, name))
        return nullptr;
    ProcessEntry* const entry = new (std::nothrow) ProcessEntry(pid, name);
    if (entry != nullptr && name[0] != '\0' && entry->getName()[0] == '\0') {
        delete entry;
        return nullptr;
    }
    return entry;
}

// Scanning: a process already in the table (known, when updating) is marked valid again;
// any other gets a new entry at the tail.
void scanProcesses(ProcessControl& table, DIR* proc, ProcessIndex* known, ProcessList& list) {
    while (dirent const* directory = readdir(proc)) {
        int32_t pid;
        if (directory->d_type != DT_DIR || !table.isNumeric(directory->d_name) ||
            !orvik::detail::pidFromDirectoryName(directory->d_name, &pid))
            continue;
        if (known != nullptr) {
            ProcessEntry* const seen =
                known->usable() ? known->find(pid) : table.getProcessEntryByPid(pid);
            if (seen != nullptr) {
                seen->setValid(true);
                continue;
            }
        }
        ProcessEntry* const entry = newEntry(pid, directory->d_name);
        if (entry == nullptr)
            continue;
        list.append(entry);
        if (known != nullptr)
            known->add(pid, entry);
    }
}

// Sweeping: the entries still not valid belong to processes that have gone.
void sweepInvalid(ProcessEntry*& first, int& count) {
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
                --count;
            delete entry;
        }
        entry = next;
    }
}

} // namespace

ProcessControl::ProcessControl() : first(nullptr), processCount(0) {}

ProcessControl::~ProcessControl() { ProcessControl::cleanup(); }

void ProcessControl::refresh(bool update) {
    DIR* const proc = opendir(kProcPath);
    ProcessIndex known;
    ProcessList list{first, processCount, nullptr};
    if (update)
        list.tail = markAll(first, known);
    else
        cleanup();
    if (proc == nullptr)
        return;
    scanProcesses(*this, proc, update ? &known : nullptr, list);
    closedir(proc);
    if (update)
        sweepInvalid(first, processCount);
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
