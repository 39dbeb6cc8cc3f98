// Calls the public headers must accept and calls they must refuse at compile time.
// check_guards.cmake compiles this file once per case (-DGUARD_CASE=<name>): the case
// "accepted" must compile warning-free, every other case must fail naming a deleted
// function (or, under clang, a dangling reference).
#include <orvik_utilities.h>

namespace {

enum Colour { kRed };

#if GUARD_CASE_accepted
// Characters stay characters, read-only text needs no cast, and a copy of a lookup result
// outlives the temporary default.
int accepted() {
    String s('a');
    s = 'b';
    s += 'c';
    s += static_cast<unsigned char>('d');
    s += static_cast<signed char>('e');
    s = s + 'f';
    s = 'g' + s;
    s = nullptr;
    s += String::stringOf(1500L);

    ConfigReader cfg;
    char dst[8];
    char writable[] = "a=b";
    char const* readOnly = "x=y";
    int r = cfg.indexof("tag=value", '=') + cfg.indexof(readOnly, '=') + cfg.indexof(writable, '=');
    r += cfg.indexof(nullptr, 'a') + cfg.indexof(static_cast<char*>(nullptr), 'a');
    r += cfg.strcpystrip(dst, 8, "  ab ", 4) + cfg.strcpystrip(dst, 8, writable, 3);
    r += cfg.strcpystrip(dst, 8, nullptr, 1);

    unsigned char const block[3] = {1, 2, 3};
    unsigned char encoded[4];
    Base64::encodeBlock(block, encoded, 3);

    r += kx_watchdog_init("mydaemon");

    String const value = cfg.getValue("zz", "temporary default");
    return r + static_cast<int>(value.length() + s.length()) + encoded[0];
}
#elif GUARD_CASE_construct_from_long
String refused() {
    long mtu = 1500;
    return String(mtu);
}
#elif GUARD_CASE_construct_from_zero
String refused() { return String(0); }
#elif GUARD_CASE_assign_int
void refused(String& t) { t = 65; }
#elif GUARD_CASE_assign_bool
void refused(String& t) { t = true; }
#elif GUARD_CASE_append_long
void refused(String& s) {
    long mtu = 1500;
    s += mtu;
}
#elif GUARD_CASE_append_unsigned
void refused(String& s) { s += 7u; }
#elif GUARD_CASE_append_double
void refused(String& s) { s += 2.5; }
#elif GUARD_CASE_append_enum
void refused(String& s) { s += kRed; }
#elif GUARD_CASE_plus_right
String refused(String const& s) { return s + 1; }
#elif GUARD_CASE_plus_left
String refused(String const& s) { return 1 + s; }
#elif GUARD_CASE_parameter_from_int
// An int reaching a String parameter is a construction too.
String const& refused(ConfigReader const& cfg) { return cfg.getValue("tag", 5); }
#elif GUARD_CASE_dangling_default
// Only clang's lifetime analysis catches this one at compile time.
long refused(ConfigReader const& cfg) {
    String const& v = cfg.getValue("zz", "temporary default");
    return v.length();
}
#endif

} // namespace

int main() {
#if GUARD_CASE_accepted
    return accepted() == 0 ? 0 : 1;
#else
    return 0;
#endif
}
