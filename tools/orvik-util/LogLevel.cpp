// loglevel: the level a program gets from /etc/log/log.cfg, by starting its logging.
#include <orvik_utilities/system/LogInit.h>

#include "Tool.h"

#include <syslog.h>

#include <cstdio>

namespace {

constexpr char const* kLevelFile = "/etc/log/log.cfg";
constexpr char const* kPriorityNames[] = {"emerg",   "alert",  "crit", "err",
                                          "warning", "notice", "info", "debug"};
// A mask the set-up never leaves: it only ever sets "priorities 0 to n".
constexpr int kUntouched = LOG_MASK(LOG_DEBUG);

} // namespace

int runLoglevel(int argc, char** argv) {
    if (argc != 2 || argv[1][0] == '\0')
        return tool::usage("loglevel", "needs one PROGRAM name");
    setlogmask(kUntouched);
    sorrelLogInit(argv[1]);
    int mask = setlogmask(0);
    closelog();
    if (mask == kUntouched)
        return tool::fail(tool::kFailed,
                          "cannot open %s: does /etc/log exist and may you "
                          "write there?",
                          kLevelFile);
    int level = 0;
    while (level < 7 && (mask & LOG_MASK(level + 1)) != 0)
        ++level;
    std::printf("%s: %d (%s)\n", argv[1], level, kPriorityNames[level]);
    return tool::kOk;
}
