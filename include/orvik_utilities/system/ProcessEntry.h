// One process of the process table: its id and its command line.
#ifndef ORVIK_UTILITIES_SYSTEM_PROCESS_ENTRY_H
#define ORVIK_UTILITIES_SYSTEM_PROCESS_ENTRY_H

#include <orvik_utilities/export.h>

/// Owns a copy of its name; the next entry is only pointed at. A null name is taken as the
/// empty text, and so is a name whose copy cannot be allocated.
class ORVIK_API ProcessEntry {
public:
    ProcessEntry(int pid, char const* name);
    virtual ~ProcessEntry();
    ProcessEntry(ProcessEntry const&) = delete;
    ProcessEntry& operator=(ProcessEntry const&) = delete;

    virtual int getPid() const;
    virtual char const* getName() const;
    virtual ProcessEntry* getNext() const;
    virtual void setNext(ProcessEntry* next);
    virtual void setValid(bool valid);
    /// True after construction and whenever the latest refresh saw the process.
    virtual bool isValid();

private:
    int pid;
    char* name;
    ProcessEntry* next;
    bool valid;
};

#endif
