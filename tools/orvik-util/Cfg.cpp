// cfg: lookups in a tag=value file through ConfigReader.
#include <orvik_utilities/config/ConfigReader.h>
#include <orvik_utilities/numbers/IntegerText.h>
#include <orvik_utilities/text/Format.h>

#include "Tool.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace {

constexpr unsigned long kTableSize = 256;
// The reader's own line piece: fgets into 1023 bytes.
constexpr int kLinePiece = 1023;

// Checked first so that a missing file gives one error line instead of the reader's notices.
bool openable(char const* path) {
    std::FILE* file = std::fopen(path, "r");
    if (file == nullptr)
        return false;
    std::fclose(file);
    return true;
}

void printValue(String const& value) {
    std::fwrite(value.buffer(), 1, static_cast<std::size_t>(value.length()), stdout);
}

// The reader keeps no list of its tags, so the file is walked again for candidate tags
// (the text before each line's first '=', blanks and control bytes removed, as the reader
// makes them); the reader then says which of them it kept and with which value.
std::vector<std::string> candidateTags(char const* path) {
    std::vector<std::string> tags;
    std::FILE* file = std::fopen(path, "r");
    if (file == nullptr)
        return tags;
    char line[kLinePiece];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        char const* equals = std::strchr(line, '=');
        if (line[0] == '#' || equals == nullptr)
            continue;
        std::string tag;
        for (char const* c = line; c < equals; ++c)
            if (static_cast<unsigned char>(*c) > 32)
                tag += *c;
        tags.push_back(tag);
    }
    std::fclose(file);
    return tags;
}

// get's standard output is the value alone, for scripts; the reader's notices about the
// rest of the file go to standard error meanwhile.
void initializeQuietly(ConfigReader& reader, char const* path) {
    std::fflush(stdout);
    int saved = dup(STDOUT_FILENO);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    reader.initialize(String(path), kTableSize);
    std::fflush(stdout);
    if (saved >= 0) {
        dup2(saved, STDOUT_FILENO);
        close(saved);
    }
}

// getValueAsInt reads any text as a number ("1500 bytes" gives 149898033), so --int first
// checks that the value is one: the canonical decimal form, or the canonical digits of its
// radix followed by the radix letter ("5dch", "101b", "17o"), or the switch words "on"
// and "off" that the reader turns into 1 and 0.
bool isNumber(String const& value) {
    if (stricmp(value.buffer(), "on") == 0 || stricmp(value.buffer(), "off") == 0)
        return true;
    int32_t status = -1;
    validValueOf32(&status, value.buffer());
    if (status == 0)
        return true;
    uint32_t const length = static_cast<uint32_t>(value.length());
    if (length < 2)
        return false;
    int radix = 0;
    switch (value.buffer()[length - 1]) {
    case 'h':
    case 'x':
        radix = 16;
        break;
    case 'o':
        radix = 8;
        break;
    case 'b':
        radix = 2;
        break;
    default:
        return false;
    }
    // The library writes the digits and its own radix letter ("5DCh"); the value's letter
    // may be another of the same radix ('x'), and hexadecimal digits of either case read alike.
    char rendered[34];
    u_i32toa(u_valueOf32(value.buffer()), rendered, radix);
    return std::strlen(rendered) == length && strnicmp(rendered, value.buffer(), length - 1) == 0;
}

int get(int argc, char** argv) {
    bool const asInt = argc >= 2 && std::strcmp(argv[1], "--int") == 0;
    if (asInt) {
        --argc;
        ++argv;
    }
    if (argc < 3 || argc > 4)
        return tool::usage("cfg", "get needs [--int] FILE TAG [INDEX]");
    int32_t index = 0;
    if (argc == 4 && !tool::parseInt(argv[3], 0, INT32_MAX, index))
        return tool::usage("cfg", "INDEX '%s' is not a number from 0", argv[3]);
    if (!openable(argv[1]))
        return tool::fail(tool::kFailed, "cannot read %s: %s", argv[1], std::strerror(errno));
    ConfigReader reader;
    initializeQuietly(reader, argv[1]);
    String const absent;
    String const& value =
        argc == 4
            ? reader.getIndexedValue(String(argv[2]), static_cast<unsigned long>(index), absent)
            : reader.getValue(String(argv[2]), absent);
    if (&value == &absent)
        return tool::fail(tool::kFailed,
                          "no tag '%s' in %s: list the tags with 'orvik-util "
                          "cfg dump %s'",
                          argv[2], argv[1], argv[1]);
    if (asInt) {
        if (!isNumber(value))
            return tool::fail(tool::kFailed,
                              "value '%s' of '%s' is not a number: write it in decimal or as "
                              "digits with a radix letter (5dch, 17o, 101b)",
                              value.buffer(), argv[2]);
        long const number =
            argc == 4
                ? reader.getIndexedValueAsInt(String(argv[2]), static_cast<unsigned long>(index), 0)
                : reader.getValueAsInt(String(argv[2]), 0);
        std::printf("%ld\n", number);
        return tool::kOk;
    }
    printValue(value);
    std::putchar('\n');
    return tool::kOk;
}

int dump(int argc, char** argv) {
    if (argc != 2)
        return tool::usage("cfg", "dump needs one FILE");
    if (!openable(argv[1]))
        return tool::fail(tool::kFailed, "cannot read %s: %s", argv[1], std::strerror(errno));
    ConfigReader reader;
    reader.initialize(String(argv[1]), kTableSize);
    String const absent;
    std::set<std::string> shown;
    for (std::string const& tag : candidateTags(argv[1])) {
        if (!shown.insert(tag).second)
            continue;
        String const& value = reader.getValue(String(tag.c_str()), absent);
        if (&value == &absent)
            continue;
        std::fwrite(tag.data(), 1, tag.size(), stdout);
        std::putchar('=');
        printValue(value);
        std::putchar('\n');
    }
    return tool::kOk;
}

} // namespace

int runCfg(int argc, char** argv) {
    if (argc >= 2 && std::strcmp(argv[1], "get") == 0)
        return get(argc - 1, argv + 1);
    if (argc >= 2 && std::strcmp(argv[1], "dump") == 0)
        return dump(argc - 1, argv + 1);
    return tool::usage("cfg", "needs 'get [--int] FILE TAG [INDEX]' or 'dump FILE'");
}
