// Device cost of the numbers subsystem: decimal conversion against glibc's snprintf, and
// Base64 encoding against a plain portable 3-bytes-to-4 encoder written here.
#include <orvik_utilities/numbers/Base64.h>
#include <orvik_utilities/numbers/IntegerText.h>
#include <orvik_utilities/text/String.h>

#include "ProbeMain.h"

#include <cstdint>
#include <cstdio>

namespace {

volatile uint32_t sink;

void i32toaDecimal(unsigned long n) {
    char buffer[34];
    for (unsigned long i = 0; i < n; ++i) {
        i32toa(static_cast<int32_t>(i * 12345u), buffer, 10);
        sink = static_cast<unsigned char>(buffer[0]);
    }
}

void snprintfLong(unsigned long n) {
    char buffer[34];
    for (unsigned long i = 0; i < n; ++i) {
        std::snprintf(buffer, sizeof buffer, "%ld", static_cast<long>(i * 12345u));
        sink = static_cast<unsigned char>(buffer[0]);
    }
}

unsigned char payload[1024];

void fillPayload() {
    for (unsigned i = 0; i < sizeof payload; ++i)
        payload[i] = static_cast<unsigned char>(i * 131u + 7u);
}

void base64Encode(unsigned long n) {
    fillPayload();
    String text;
    for (unsigned long i = 0; i < n; ++i) {
        Base64::encode(payload, sizeof payload, 0, text);
        sink = static_cast<unsigned char>(text.buffer()[i % 1024]);
    }
}

// The plain encoder: three bytes in, four alphabet characters out, padding at the end.
char const kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

void portableEncode(unsigned char const* in, unsigned count, char* out) {
    unsigned i = 0;
    for (; i + 3 <= count; i += 3) {
        uint32_t const v = uint32_t{in[i]} << 16 | uint32_t{in[i + 1]} << 8 | in[i + 2];
        *out++ = kAlphabet[v >> 18];
        *out++ = kAlphabet[v >> 12 & 63];
        *out++ = kAlphabet[v >> 6 & 63];
        *out++ = kAlphabet[v & 63];
    }
    if (i < count) {
        uint32_t v = uint32_t{in[i]} << 16;
        if (i + 1 < count)
            v |= uint32_t{in[i + 1]} << 8;
        *out++ = kAlphabet[v >> 18];
        *out++ = kAlphabet[v >> 12 & 63];
        *out++ = i + 1 < count ? kAlphabet[v >> 6 & 63] : '=';
        *out++ = '=';
    }
    *out = '\0';
}

char encoded[1400];

void portableBase64Encode(unsigned long n) {
    fillPayload();
    for (unsigned long i = 0; i < n; ++i) {
        portableEncode(payload, sizeof payload, encoded);
        sink = static_cast<unsigned char>(encoded[i % 1024]);
    }
}

ProbeCase const kCases[] = {
    {"i32toa", "snprintf_ld", "i32toa radix 10", i32toaDecimal},
    {"snprintf_ld", "-", "glibc snprintf(\"%ld\")", snprintfLong},
    {"base64_encode_1k", "portable_base64_1k", "Base64::encode 1 KiB into a String", base64Encode},
    {"portable_base64_1k", "-", "portable 3-to-4 encoder, 1 KiB into a char array",
     portableBase64Encode},
};

} // namespace

int main(int argc, char** argv) { return probeMain(argc, argv, kCases); }
