// A running system has its summary at a path under /proc that no file system on a PC can
// add beside the live process directories. The sandbox answers opens of that path instead:
// COMMAND runs under a seccomp filter that passes its open calls to the sandbox, which hands
// a reading descriptor of the summary to the ones naming the path and lets the kernel carry
// on with every other.
#ifndef ORVIK_SANDBOX_SUMMARY_OPENS_H
#define ORVIK_SANDBOX_SUMMARY_OPENS_H

#include <string>

namespace orvik_sandbox {

// In the child about to run COMMAND: installs the filter and returns its listener
// descriptor, or -1 (with *why) where the kernel or the architecture does not allow it.
int installOpenFilter(std::string* why);

class SummaryOpens {
public:
    // text: the summary to serve.
    explicit SummaryOpens(std::string const& text);
    ~SummaryOpens();
    SummaryOpens(SummaryOpens const&) = delete;
    SummaryOpens& operator=(SummaryOpens const&) = delete;

    // Takes the filter's listener descriptor (-1: there is none any more).
    void listen(int listener);
    int descriptor() const { return notifications; }
    // Answers one waiting open; true when it was a read of the summary, with the reader's
    // process id (as this process sees it) in *pid.
    bool answer(int* pid);

private:
    int summary = -1; // a memory file holding the text
    int notifications = -1;
};

} // namespace orvik_sandbox

#endif
