// syslog set-up with the program's level from the log-level file, re-read on SIGUSR1.
#include <orvik_utilities/system/LogInit.h>

#include "system/LogLevelLine.h"

#include <syslog.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>

namespace {

constexpr char kLevelFile[] = "/etc/log/log.cfg";
constexpr int kLineSize = 80; // lines are read 79 characters at a time

// syslog keeps this very pointer as its identity, so it is stored, never copied.
char const* logIdentity = nullptr;

bool findLevel(std::FILE* file, char const* name, int32_t* level) {
    char line[kLineSize];
    while (std::fgets(line, kLineSize, file) != nullptr) {
        if (orvik::detail::levelFromLine(line, name, level))
            return true;
    }
    return false;
}

void applyLevel(char const* name, int32_t level) {
    setlogmask(LOG_UPTO(level));
    if (level > 0)
        syslog(level, "[Log level for %s set to %d]", name, static_cast<int>(level));
}

bool hasName(char const* name) { return name != nullptr && name[0] != '\0'; }

// Runs in signal context: the operator edited the file and wants the level re-read.
void reloadLogLevel(int) {
    int const savedErrno = errno;
    std::FILE* file = hasName(logIdentity) ? std::fopen(kLevelFile, "r") : nullptr;
    if (file != nullptr) {
        int32_t level = 0;
        if (findLevel(file, logIdentity, &level))
            applyLevel(logIdentity, level);
        std::fclose(file);
    }
    errno = savedErrno;
}

} // namespace

extern "C" void sorrelLogInit(char const* name) {
    logIdentity = name;
    openlog(name, LOG_PID | LOG_CONS | LOG_NDELAY, LOG_USER);
    // "a+" creates the file for the first program ever started and appends our default.
    std::FILE* file = hasName(name) ? std::fopen(kLevelFile, "a+") : nullptr;
    if (file != nullptr) {
        int32_t level = 0;
        if (!findLevel(file, name, &level))
            std::fprintf(file, "%s %d\n", name, 0);
        applyLevel(name, level);
        std::fclose(file);
    }
    std::signal(SIGUSR1, reloadLogLevel);
}
