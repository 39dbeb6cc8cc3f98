// Syslog set-up of a program under its name, with its level from the shared level file.
#ifndef ORVIK_UTILITIES_SYSTEM_LOG_INIT_H
#define ORVIK_UTILITIES_SYSTEM_LOG_INIT_H

/// @file

#include <orvik_utilities/export.h>

extern "C" {

/// Opens syslog as name (LOG_PID | LOG_CONS | LOG_NDELAY, LOG_USER), applies the level of
/// the first line of "/etc/log/log.cfg" containing name (appending "name 0" when none does),
/// logs "[Log level for %s set to %d]" at that priority when above 0, and re-reads the level
/// on SIGUSR1. name is kept, not copied: it must live as long as the process. A matched
/// line without a second token means level 0; levels are clamped to 0..7. A null or empty
/// name only opens syslog under the program's own name and never touches the file or mask.
///
/// Process-wide state: the log identity (the name pointer) and the SIGUSR1 handler, which
/// stays installed and does file and syslog work in signal context; call once at start-up,
/// before other threads exist. A level n lets syslog priorities 0 (LOG_EMERG) to n through:
/// a program missing from the file runs at 0, emergencies only, until its line is edited
/// and SIGUSR1 sent. The name is found as a substring ("mon" takes the level of an earlier
/// line "daemond 3"), so choose names no other entry contains.
ORVIK_API void sorrelLogInit(char const* name);
}

#endif
