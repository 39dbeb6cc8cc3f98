// Runs test code in a forked child, so process-wide state it sets up starts fresh each time.
#ifndef ORVIK_TESTS_SUPPORT_CHILD_PROCESS_H
#define ORVIK_TESTS_SUPPORT_CHILD_PROCESS_H

#include <sys/types.h>

#include <functional>
#include <string>

namespace orvik_test {

struct ChildRun {
    pid_t pid = -1;
    // What the body returned, followed by "<...>" when the child did not exit normally.
    std::string output;
};

// Forks; the child runs body (no GoogleTest assertions there: report through the text it
// returns) and exits with _exit. A child still running after timeoutSeconds is killed.
// The child shares this process's namespaces and inherits its state, never the other way.
ChildRun runInChild(std::function<std::string()> const& body, int timeoutSeconds = 30);

} // namespace orvik_test

#endif
