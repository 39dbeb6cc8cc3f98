// ps: the process table as ProcessControl reads it from /proc.
#include <orvik_utilities/system/ProcessControl.h>

#include "Tool.h"

#include <cstdio>
#include <cstring>

int runPs(int argc, char** argv) {
    if (argc > 2)
        return tool::usage("ps", "takes at most one NAME");
    char const* name = argc == 2 ? argv[1] : nullptr;
    ProcessControl table;
    table.refresh(false);
    int shown = 0;
    for (ProcessEntry* entry = table.getNextProcessEntryByName(name, nullptr); entry != nullptr;
         entry = table.getNextProcessEntryByName(name, entry)) {
        std::printf("%d %s\n", entry->getPid(), entry->getName());
        ++shown;
    }
    if (name != nullptr && shown == 0)
        return tool::fail(tool::kFailed, "no process whose command line begins with '%s'%s", name,
                          std::strchr(name, '/') != nullptr
                              ? ""
                              : " (a program started by its path matches only with the path)");
    if (shown == 0)
        return tool::fail(tool::kFailed, "no process found: is /proc mounted?");
    return tool::kOk;
}
