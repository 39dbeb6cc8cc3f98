// One ICMP echo request at a time, sent on a raw socket with the IP header built here, and
// a poll for its reply that never blocks.
#ifndef ORVIK_UTILITIES_NET_PING_CLIENT_H
#define ORVIK_UTILITIES_NET_PING_CLIENT_H

/// @file

#include <orvik_utilities/export.h>

#include <cstdint>

/// Send, then poll checkPingResponse until it returns 0 or the owner gives up; the next send
/// starts a new exchange. The socket of an exchange stays open (also after a failed send)
/// until the next send, cleanup or destruction. Results: 0 sent / reply found, 1 not sent,
/// 2 no matching reply waiting now, 3 receiving failed. Nothing is logged. Raw sockets need
/// CAP_NET_RAW. The sends reach cleanup and checksum through the virtual table. The client
/// owns its socket; one thread at a time per client (the constructor's rand() calls share
/// the process's generator).
class ORVIK_API PingClient {
public:
    /// No socket; identifier and first sequence from two calls of rand() (never seeded here).
    PingClient();
    /// cleanup().
    virtual ~PingClient();

    /// Echo request to target (host name or dotted text, first IPv4 address), routed as the
    /// kernel chooses, from source (dotted text) or, when source is null, from the outgoing
    /// interface's address. 0 when all 28 bytes went out, else 1. A null target changes
    /// nothing; otherwise the sequence advances first, also when the send then fails. A
    /// source that is not a valid dotted address is refused (1) rather than sent as
    /// 255.255.255.255.
    virtual int sendSimplePing(char const* target, char const* source);
    /// As sendSimplePing, from the address of interface and bound to it. A null target or
    /// interface changes nothing. A name longer than 15 characters is refused (1) instead of
    /// being cut to a name that could be another interface's.
    virtual int sendPingFromInterface(char const* target, char const* interface);
    /// Reads what is queued, without waiting, until the reply to the last request (sequence,
    /// then identifier, after the IP header's own length): 0 found, 2 nothing (more) waiting,
    /// 3 the read failed (as without a socket). Other packets are read and dropped. The
    /// socket stays open.
    virtual int checkPingResponse();
    /// Closes the socket, if one is open.
    virtual void cleanup();
    /// Internet checksum of length bytes at data, any alignment; a length below 1 gives 0xFFFF
    /// (the checksum of nothing).
    virtual unsigned short checksum(unsigned short* data, int length) const;

protected:
    /// The exchange's raw socket; -1 when none is open.
    int socketFd;
    /// The identifier of every request of this client.
    uint16_t echoId;
    /// The sequence number of the last request sent.
    uint16_t echoSeq;
};

#endif
