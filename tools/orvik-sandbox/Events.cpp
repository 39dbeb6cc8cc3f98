#include "Events.h"

#include "Services.h"

#include <unistd.h>

#include <cstdio>

namespace orvik_sandbox {

namespace {

void writeAll(int fd, std::string const& text) {
    std::size_t done = 0;
    while (fd >= 0 && done < text.size()) {
        ssize_t const n = write(fd, text.data() + done, text.size() - done);
        if (n <= 0)
            return;
        done += std::size_t(n);
    }
}

} // namespace

std::string quoted(std::string const& value) {
    bool plain = !value.empty();
    for (char c : value)
        plain = plain && c > ' ' && c < 127 && c != '"' && c != '\\' && c != '=';
    if (plain)
        return value;
    std::string text = "\"";
    for (char c : value) {
        unsigned char const byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
            text += std::string("\\") + c;
        else if (c == '\n')
            text += "\\n";
        else if (c == '\t')
            text += "\\t";
        else if (byte < ' ' || byte >= 127) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02x", byte);
            text += escape;
        } else
            text += c;
    }
    return text + "\"";
}

Events::Events(int fileFd, bool toStderr, bool panel)
    : file(fileFd), plain(toStderr && !panel), live(panel),
      start(std::chrono::steady_clock::now()) {
    for (char const* name : kLedNames)
        leds[name] = "off";
}

Events::~Events() { finish(); }

void Events::emit(std::string const& kind, Fields const& fields) {
    auto const elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - start);
    char stamp[32];
    std::snprintf(stamp, sizeof stamp, "%lld.%03lld",
                  static_cast<long long>(elapsed.count() / 1000),
                  static_cast<long long>(elapsed.count() % 1000));
    std::string line = std::string(stamp) + " " + kind;
    for (auto const& field : fields)
        line += " " + field.first + "=" + quoted(field.second);
    line += "\n";
    writeAll(file, line);
    if (plain)
        writeAll(STDERR_FILENO, "orvik-sandbox: " + line);
    if (live) {
        writeAll(STDERR_FILENO, (drawn ? "\r\033[K" : "") + line);
        drawPanel();
    }
}

void Events::led(std::string const& name, std::string const& state) {
    leds[name] = state;
    emit("led", {{"led", name}, {"state", state}});
}

void Events::uplink(bool up) {
    uplinkUp = up;
    emit("uplink", {{"state", up ? "up" : "down"}});
}

void Events::drawPanel() {
    // Lit, blinking slowly and fast, dark; the four signal LEDs form the bar.
    auto lamp = [&](std::string const& name) {
        std::string const& state = leds[name];
        return state == "on" ? "#" : state == "slow" ? "+" : state == "fast" ? "*" : ".";
    };
    std::string panel = "[";
    for (char const* name : {"pwr", "ready", "gsm", "wlan", "vpn", "gps", "onbrd"})
        panel += std::string(" ") + name + lamp(name);
    panel += " | bar ";
    for (char const* name : {"sig0", "sig1", "sig2", "sig3"})
        panel += lamp(name);
    panel += std::string(" | uplink ") + (uplinkUp ? "up" : "down") + " ] u: uplink";
    writeAll(STDERR_FILENO, "\r\033[K" + panel);
    drawn = true;
}

void Events::finish() {
    if (live && drawn)
        writeAll(STDERR_FILENO, "\r\033[K");
    drawn = false;
    live = false;
}

} // namespace orvik_sandbox
