// A snapshot of the processes running on the device, read from /proc.
#ifndef ORVIK_UTILITIES_SYSTEM_PROCESS_CONTROL_H
#define ORVIK_UTILITIES_SYSTEM_PROCESS_CONTROL_H

/// @file

#include <orvik_utilities/export.h>
#include <orvik_utilities/system/ProcessEntry.h>

/// The table is a singly linked chain of entries in the order the scan of /proc met the
/// processes (an updating refresh appends new ones).
///
/// Name matching: getNextProcessEntryByName and getNumberOfProcessesByName compare the
/// beginning of the whole command line, so "dnsd" also matches "dnsd-helper" and
/// "/usr/sbin/dnsd" matches only a process started by that path, and "/usr/sbin/dnsd2"
/// too (no word boundary). Give the name as the process was started; for an exact program
/// compare getName() up to its first space yourself.
///
/// @code
/// ProcessControl processes;
/// processes.refresh(false);
/// if (processes.getNumberOfProcessesByName("/usr/sbin/dnsd") == 0)
///     restartDnsd();
/// @endcode It owns its entries; those handed out
/// stay valid until the next refresh or cleanup (an updating refresh keeps the entries of
/// processes still present). One thread at a time.
///
/// Names: the command line with its arguments joined by single spaces, at most 255 bytes
/// of it; a process without one (a kernel thread, a zombie) is named by its id in square
/// brackets, as "[7]".
///
/// The counter counts the entries that hold a command line, and only those: an entry named
/// "[<its own id>]" is not counted when it is added nor subtracted when it goes, so the
/// counter always equals the number of the other entries, over any sequence of refreshes.
/// (A process whose command line is literally "[<its own id>]" is thus not counted either.)
class ORVIK_API ProcessControl {
public:
    /// An empty table: refresh() before the lookups.
    ProcessControl();
    /// Deletes every entry.
    virtual ~ProcessControl();
    ProcessControl(ProcessControl const&) = delete;
    ProcessControl& operator=(ProcessControl const&) = delete;

    /// Rereads /proc. update false rebuilds the table. update true keeps the entries of
    /// processes still present (same objects, their names not read again, even if the
    /// process id was reused meanwhile), appends new processes and deletes the others. When
    /// /proc cannot be opened, a rebuild leaves the table empty and an update leaves every
    /// entry in place, marked not valid. A process that goes during the scan is left out;
    /// one whose entry cannot be allocated is left out too.
    virtual void refresh(bool update);
    /// The next entry after `after` (from the start when after is null) whose command line
    /// begins with name (any entry when name is null); null when there is none or when
    /// `after` is not in the table.
    virtual ProcessEntry* getNextProcessEntryByName(char const* name,
                                                    ProcessEntry const* after) const;
    /// How many entries begin with name; all entries when name is null.
    virtual int getNumberOfProcessesByName(char const* name) const;
    /// The first entry with that id, or null.
    virtual ProcessEntry* getProcessEntryByPid(int pid);
    /// The counter described above: the entries that hold a command line.
    virtual int getNumberOfProcesses() const;
    /// Empties the table and sets the counter to 0.
    virtual void cleanup();

    /// True when every character is a decimal digit; the empty text is numeric, a null
    /// one is not.
    bool isNumeric(char const* text) const;

private:
    ProcessEntry* first;
    int processCount;
};

#endif
