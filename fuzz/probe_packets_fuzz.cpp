// libFuzzer target for what the reachability probes read from outside: ARP table lines
// searched for a next hop, and packets offered to the three reply matchers. The first byte
// picks the next hop's length, taken from the front of the rest; the remainder is both the
// line (cut as the table reader cuts it) and the packet. The matchers must agree with
// byte-level re-reads of the fields they test, and a built request turned into a reply
// must match.
#include "net/ArpLine.h"
#include "net/EchoPacket.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace orvik::detail;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    if (size == 0)
        return 0;
    std::size_t const hopLength = data[0] % 20 < size ? data[0] % 20 : size - 1;
    std::string const hop(reinterpret_cast<char const*>(data + 1), hopLength);
    std::vector<unsigned char> const rest(data + 1 + hopLength, data + size);

    std::string line(rest.begin(), rest.end());
    line = line.substr(0, std::min<std::size_t>(line.find('\0'), kArpLineLimit + 1));
    unsigned char hw[6] = {1, 2, 3, 4, 5, 6};
    bool const found = arpLineHardwareAddress(line.c_str(), hop.c_str(), hw);
    if (found && line.compare(0, std::strlen(hop.c_str()), hop.c_str()) != 0)
        std::abort();
    if (!found && std::memcmp(hw, "\1\2\3\4\5\6", 6) != 0)
        std::abort();

    // Each matcher sees exactly the received length, in a buffer of that size.
    std::vector<unsigned char> const packet(rest);
    uint16_t const id = 0x1234, seq = 0x0001;
    unsigned char const local[6] = {2, 0, 0, 0, 0, 1};
    unsigned char const peer[6] = {2, 0, 0, 0, 0, 2};
    bool const ping = pingReplyMatches(packet.data(), packet.size(), id, seq);
    if (ping) {
        std::size_t const icmp = 4u * (packet[0] & 0x0F);
        if (packet.size() < icmp + 8 || packet[icmp + 4] != 0x12 || packet[icmp + 7] != 0x01)
            std::abort();
    }
    if (rawReplyMatches(packet.data(), packet.size(), local, peer, id, seq) &&
        (packet.size() < 42 || packet[34] != 0 || packet[23] != 1))
        std::abort();
    if (ipReplyMatches(packet.data(), packet.size(), id, seq) &&
        (packet.size() < 48 || packet[20] != 0 || packet[9] != 1))
        std::abort();

    // Requests built from the input's fields, answered: always a match.
    uint32_t words[2] = {0, 0};
    if (!rest.empty())
        std::memcpy(words, rest.data(), std::min<std::size_t>(rest.size(), sizeof words));
    unsigned char frame[kRawEchoFrameLength];
    fillRawEchoFrame(frame, peer, local, words[0], words[1], static_cast<uint16_t>(words[0]),
                     static_cast<uint16_t>(words[1]));
    if (internetChecksum(frame + 14, 20) != 0 || internetChecksum(frame + 34, 8) != 0)
        std::abort();
    frame[34] = 0;
    if (!rawReplyMatches(frame, sizeof frame, peer, local, static_cast<uint16_t>(words[0]),
                         static_cast<uint16_t>(words[1])))
        std::abort();
    unsigned char ip[kIpEchoPacketLength];
    fillIpEchoPacket(ip, words[0], words[1], static_cast<uint16_t>(words[1]),
                     static_cast<uint16_t>(words[0]));
    ip[20] = 0;
    if (!ipReplyMatches(ip, sizeof ip, static_cast<uint16_t>(words[1]),
                        static_cast<uint16_t>(words[0])))
        std::abort();
    unsigned char request[kPingRequestLength];
    fillPingRequest(request, words[0], words[1], static_cast<uint16_t>(words[1] >> 16),
                    static_cast<uint16_t>(words[0] >> 16));
    if (!pingReplyMatches(request, sizeof request, static_cast<uint16_t>(words[1] >> 16),
                          static_cast<uint16_t>(words[0] >> 16)))
        std::abort();
    return 0;
}
