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
ORVIK_API void sorrelLogInit(char const* name);
}

#endif
