// Reading one ARP table line for a next hop's hardware address.
#include "net/ArpLine.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace orvik {
namespace detail {

namespace {

bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Copies the next field into field (at most kArpFieldLimit characters and a terminator);
// false when there is none or it is too long.
bool nextField(char const*& at, char* field) {
    while (isSpace(*at))
        ++at;
    unsigned length = 0;
    while (at[length] != '\0' && !isSpace(at[length]))
        ++length;
    if (length == 0 || length > kArpFieldLimit)
        return false;
    std::memcpy(field, at, length);
    field[length] = '\0';
    at += length;
    return true;
}

} // namespace

bool arpLineHardwareAddress(char const* line, char const* nextHop, unsigned char* hardware) {
    if (line == nullptr || nextHop == nullptr || hardware == nullptr)
        return false;
    if (std::strncmp(line, nextHop, std::strlen(nextHop)) != 0)
        return false;
    char fields[4][kArpFieldLimit + 1];
    char const* at = line;
    for (char* field : fields)
        if (!nextField(at, field))
            return false;
    if ((std::strtoul(fields[2], nullptr, 0) & 0x2) == 0)
        return false;
    unsigned octets[6];
    // Two hex digits at most per octet, so no conversion can overflow; the count is checked.
    if (std::sscanf( // NOLINT(cert-err34-c)
            fields[3], "%02x:%02x:%02x:%02x:%02x:%02x", &octets[0], &octets[1], &octets[2],
            &octets[3], &octets[4], &octets[5]) != 6)
        return false;
    for (unsigned i = 0; i < 6; ++i)
        hardware[i] = static_cast<unsigned char>(octets[i]);
    return true;
}

} // namespace detail
} // namespace orvik
