// Device cost of copying text: a 4 KiB String against a 4 KiB std::string (the
// formatting engine has text_cost.cpp).
#include <orvik_utilities/text/String.h>

#include "ProbeMain.h"

#include <cstdint>
#include <string>

namespace {

volatile uint32_t sink;

void stringCopy(unsigned long n) {
    String const original(std::string(4096, 'x').c_str());
    for (unsigned long i = 0; i < n; ++i) {
        String const copy(original);
        sink = static_cast<uint32_t>(copy.length());
    }
}

void stdStringCopy(unsigned long n) {
    std::string const original(4096, 'x');
    for (unsigned long i = 0; i < n; ++i) {
        std::string const copy(original);
        sink = static_cast<uint32_t>(copy.size());
    }
}

ProbeCase const kCases[] = {
    {"string_copy_4k", "std_string_copy_4k", "String copy, 4 KiB", stringCopy},
    {"std_string_copy_4k", "-", "std::string copy, 4 KiB", stdStringCopy},
};

} // namespace

int main(int argc, char** argv) { return probeMain(argc, argv, kCases); }
