// One process of the table: its id, its own copy of its name, and the list link.
#include <orvik_utilities/system/ProcessEntry.h>

#include <cstring>
#include <new>

namespace {
// Shown when a name is null or its copy cannot be allocated; never freed.
char kNoName[] = "";
} // namespace

ProcessEntry::ProcessEntry(int pid_, char const* name_)
    : pid(pid_), name(kNoName), next(nullptr), valid(true) {
    if (name_ == nullptr || name_[0] == '\0')
        return;
    std::size_t const size = std::strlen(name_) + 1;
    char* const copy = new (std::nothrow) char[size];
    if (copy == nullptr)
        return;
    std::memcpy(copy, name_, size);
    name = copy;
}

ProcessEntry::~ProcessEntry() {
    if (name != kNoName)
        delete[] name;
}

int ProcessEntry::getPid() const { return pid; }
char const* ProcessEntry::getName() const { return name; }
ProcessEntry* ProcessEntry::getNext() const { return next; }
void ProcessEntry::setNext(ProcessEntry* next_) { next = next_; }
void ProcessEntry::setValid(bool valid_) { valid = valid_; }
bool ProcessEntry::isValid() { return valid; }
