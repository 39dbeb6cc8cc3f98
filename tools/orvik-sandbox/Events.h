// What happens in the sandbox, one line an event: "<seconds> <kind> key=value ...", values
// quoted C-style when they hold anything but plain characters, so that a script can split
// them. The same lines go to the events file and, off a terminal, to standard error; on a
// terminal a front panel follows them.
#ifndef ORVIK_SANDBOX_EVENTS_H
#define ORVIK_SANDBOX_EVENTS_H

#include <chrono>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace orvik_sandbox {

using Fields = std::vector<std::pair<std::string, std::string>>;

// A value as it appears in an event line.
std::string quoted(std::string const& value);

class Events {
public:
    // fileFd: the events file or -1; toStderr: plain lines on standard error; panel: draw
    // the front panel on standard error (a terminal) instead.
    Events(int fileFd, bool toStderr, bool panel);
    ~Events();
    Events(Events const&) = delete;
    Events& operator=(Events const&) = delete;

    void emit(std::string const& kind, Fields const& fields);
    void led(std::string const& name, std::string const& state);
    void uplink(bool up);
    // Takes the panel away before the program ends.
    void finish();

private:
    void drawPanel();

    int file;
    bool plain;
    bool live;
    bool drawn = false;
    bool uplinkUp = false;
    std::map<std::string, std::string> leds;
    std::chrono::steady_clock::time_point start;
};

} // namespace orvik_sandbox

#endif
