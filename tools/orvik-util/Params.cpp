// params: the one-line string form of a ParamList, both ways.
#include <orvik_utilities/config/ParamList.h>

#include "Tool.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

// Tags in the string form carry the list's three escapes; the list wants them plain.
std::string unescape(std::string const& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char const* escape = text.c_str() + i;
        if (std::strncmp(escape, "%25", 3) == 0 || std::strncmp(escape, "%3c", 3) == 0 ||
            std::strncmp(escape, "%3e", 3) == 0) {
            plain += escape[2] == '5' ? '%' : escape[2] == 'c' ? '<' : '>';
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

void print(String const& text) {
    std::fwrite(text.buffer(), 1, static_cast<std::size_t>(text.length()), stdout);
}

int encode(int argc, char** argv) {
    if (argc < 2)
        return tool::usage("params", "encode needs at least one TAG=VALUE");
    ParamList list;
    for (int i = 1; i < argc; ++i) {
        char const* equals = std::strchr(argv[i], '=');
        if (equals == nullptr)
            return tool::usage("params", "'%s' is not TAG=VALUE", argv[i]);
        list.setTagValue(String(argv[i], 0, static_cast<long>(equals - argv[i])),
                         String(equals + 1));
    }
    print(list.getTagValueString());
    std::putchar('\n');
    return tool::kOk;
}

// The list has no iterator: its own string form, rebuilt from what it kept, names the tags
// in order, each once, and getTagValue gives their values.
int decode(int argc, char** argv) {
    if (argc != 2)
        return tool::usage("params", "decode needs one FORM (quote it for the shell)");
    ParamList list;
    list.setTagValueString(String(argv[1]));
    std::string form(list.getTagValueString().buffer(),
                     static_cast<std::size_t>(list.getTagValueString().length()));
    std::size_t at = 0;
    while ((at = form.find('<', at)) != std::string::npos) {
        std::size_t close = form.find('>', at);
        std::size_t end = form.find('<', close);
        if (close == std::string::npos || end == std::string::npos)
            break;
        std::string tag = unescape(form.substr(at + 1, close - at - 1));
        String value;
        if (list.getTagValue(String(tag.c_str()), value)) {
            std::fwrite(tag.data(), 1, tag.size(), stdout);
            std::putchar('=');
            print(value);
            std::putchar('\n');
        }
        at = end + 1;
    }
    return tool::kOk;
}

} // namespace

int runParams(int argc, char** argv) {
    if (argc >= 2 && std::strcmp(argv[1], "encode") == 0)
        return encode(argc - 1, argv + 1);
    if (argc >= 2 && std::strcmp(argv[1], "decode") == 0)
        return decode(argc - 1, argv + 1);
    return tool::usage("params", "needs 'encode TAG=VALUE...' or 'decode FORM'");
}
