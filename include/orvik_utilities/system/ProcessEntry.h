// One process of the process table: its id and its command line.
#ifndef ORVIK_UTILITIES_SYSTEM_PROCESS_ENTRY_H
#define ORVIK_UTILITIES_SYSTEM_PROCESS_ENTRY_H

/// @file

#include <orvik_utilities/export.h>

/// Owns a copy of its name; the next entry is only pointed at. A null name is taken as the
/// empty text, and so is a name whose copy cannot be allocated.
class ORVIK_API ProcessEntry {
public:
    /// A valid entry for pid with a copy of name, linked to nothing.
    ProcessEntry(int pid, char const* name);
    /// Frees the name copy; the next entry is left alone.
    virtual ~ProcessEntry();
    ProcessEntry(ProcessEntry const&) = delete;
    ProcessEntry& operator=(ProcessEntry const&) = delete;

    /// The process id.
    virtual int getPid() const;
    /// The name copy (never null), valid while the entry lives.
    virtual char const* getName() const;
    /// The following entry of the table; null at its end.
    virtual ProcessEntry* getNext() const;
    /// Links the entry to next (not owned).
    virtual void setNext(ProcessEntry* next);
    /// Marks whether the latest refresh saw the process.
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
