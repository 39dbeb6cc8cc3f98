// An IPv4 address with its net mask: dotted text with an optional prefix length, 32-bit
// words, and the classification of the pair as host, network, interface or broadcast.
#ifndef ORVIK_UTILITIES_NET_IP_ADDRESS_H
#define ORVIK_UTILITIES_NET_IP_ADDRESS_H

/// @file

#include <orvik_utilities/export.h>
#include <orvik_utilities/text/String.h>

#include <cstdint>

/// A plain value: a version, 16 bytes of address and 16 bytes of mask. IPv4 keeps its
/// address and mask in the first 32-bit word of each, in host byte order with the first
/// dotted octet most significant (10.1.2.3 is 0x0A010203); the other 12 address bytes stay
/// 0 and the other 12 mask bytes 0xFF. Empty: version 0, address 0, mask all ones, so an
/// address set without a mask has prefix 32.
///
/// Words cross the interface as unsigned long. Where that type is wider than 32 bits, an
/// address or mask word is taken by its low 32 bits, as the device's 32-bit unsigned long
/// would hold it; a prefix length is a count and is compared whole (so 2^32 + 8 is refused).
/// Setters return 0 or -1 and change nothing when they fail. The only process-wide state
/// is EMPTY(); an object is used by one thread at a time.
///
/// @code
/// IpAddress lan(String("192.168.1.1/24"));
/// String text;
/// if (!lan.isEmpty() && lan.contains(IpAddress(0xC0A80105ul, 0xFFFFFFFFul)))
///     log(lan.getNetAddressAsString(text).buffer());   // "192.168.1.0"
/// @endcode
class ORVIK_API IpAddress {
public:
    /// The version field: none (empty), IPv4, or IPv6 (recognised, never set).
    enum { IP_VERSION_NONE = 0, IP_VERSION_4 = 1, IP_VERSION_6 = 2 };

    /// 127.0.0.1.
    static const unsigned long ipv4Loopback = 0x7F000001;
    /// 224.0.0.0.
    static const unsigned long ipv4McGrpUnspecified = 0xE0000000;
    /// 224.0.0.1.
    static const unsigned long ipv4McGrpAllHosts = 0xE0000001;
    /// 224.0.0.2.
    static const unsigned long ipv4McGrpAllRouters = 0xE0000002;

    /// Empty.
    IpAddress();
    /// IPv4 with this address and mask when the mask is a run of leading ones; else empty.
    IpAddress(unsigned long address, unsigned long netMask);
    /// setIpAddrAsString; empty when the text is refused.
    IpAddress(String const& text);
    /// setIpAddrAsString, then setNetMaskAsString; empty when either is refused.
    IpAddress(String const& addressText, String const& netMaskText);
    /// Same version, address and mask.
    IpAddress(IpAddress const& other);
    /// Nothing to free.
    ~IpAddress();
    /// Takes version, address and mask.
    IpAddress& operator=(IpAddress const& other);

    /// Back to empty.
    void init();
    /// Equal to a default-constructed address.
    bool isEmpty() const;
    /// One shared empty address, built on first use and destroyed at exit.
    static IpAddress& EMPTY();

    // ---- text: "%lu.%lu.%lu.%lu", or "" unless IPv4; each returns its argument ----
    /// The address.
    String& getIpAddrAsString(String& text) const;
    /// Four octets (0, or 1 to 255 without a leading zero), optionally "/" and a prefix
    /// length 0 to 32 (same digit rule), then the end of the text: no blanks, signs or
    /// extra characters, and a NUL byte inside the String is not an end. Makes the object
    /// IPv4; a prefix length also sets the mask, otherwise the mask stays.
    int setIpAddrAsString(String const& text);
    /// The network address, address AND mask.
    String& getNetAddressAsString(String& text) const;
    /// The mask.
    String& getNetMaskAsString(String& text) const;
    /// Four octets and the end (no prefix form), a valid mask; makes the object IPv4
    /// (an empty one becomes 0.0.0.0 with this mask).
    int setNetMaskAsString(String const& text);

    // ---- 32-bit words: the getters read the IPv4 words whatever the version ----
    /// Writes the address word to address and returns it.
    unsigned long& getV4IpAddrAsBinaryUInt32(unsigned long& address) const;
    /// The address word.
    unsigned long getV4IpAddrAsBinaryUInt32() const;
    /// Makes the object IPv4; the mask stays. Always 0.
    int setV4IpAddrAsBinaryUInt32(unsigned long address);
    /// Writes the network word (address AND mask) to netAddress and returns it.
    unsigned long& getV4NetAddrAsBinaryUInt32(unsigned long& netAddress) const;
    /// The network word, address AND mask.
    unsigned long getV4NetAddrAsBinaryUInt32() const;
    /// Writes the mask word to netMask and returns it.
    unsigned long& getV4NetMaskAsBinaryUInt32(unsigned long& netMask) const;
    /// The mask word.
    unsigned long getV4NetMaskAsBinaryUInt32() const;
    /// A valid mask makes the object IPv4.
    int setV4NetMaskAsBinaryUInt32(unsigned long netMask);
    /// The leading ones of the mask; 0 unless IPv4.
    unsigned long& getNetMaskSize(unsigned long& size) const;
    /// The leading ones of the mask; 0 unless IPv4.
    unsigned long getNetMaskSize() const;
    /// Mask of size leading ones (0 to 32), only on an IPv4 object.
    int setNetMaskSize(unsigned long size);
    /// IPv4: s_isV4MaskValid of the mask. Otherwise false and size untouched.
    bool isMaskValid(unsigned long& size) const;

    // ---- IPv6: recognised as version 2 only; these never touch the storage ----
    /// Writes nothing; returns bytes.
    unsigned char* getV6IpAddrAsBinaryString(unsigned char* bytes) const;
    /// Writes nothing; returns bytes.
    unsigned char* getV6NetAddrAsBinaryString(unsigned char* bytes) const;
    /// Writes nothing; returns bytes.
    unsigned char* getV6NetMaskAsBinaryString(unsigned char* bytes) const;
    /// Always -1.
    int setV6IpAddrAsBinaryString(unsigned char const* bytes);
    /// Always -1.
    int setV6NetMaskAsBinaryString(unsigned char const* bytes);
    /// Always false.
    static bool s_isV6MaskValid(char const* mask, unsigned long const& size);

    // ---- classification: all false unless IPv4 (A address, M mask, H = A & ~M, N = A & M;
    // T = class A-C, A's top octet non-zero and a valid mask of 2 to 30 bits) ----
    /// The top bit of A is 0 (0.0.0.0 to 127.255.255.255).
    bool isV4ClassA() const;
    /// The top two bits of A are 10.
    bool isV4ClassB() const;
    /// The top three bits of A are 110.
    bool isV4ClassC() const;
    /// The top four bits of A are 1110 (multicast).
    bool isV4ClassD() const;
    /// The top four bits of A are 1111.
    bool isV4ClassE() const;
    /// A below 224.0.0.0.
    bool isV4ClassABC() const;
    /// 127.0.0.0/8.
    bool isLoopback() const;
    /// 224.0.0.0 to 224.0.0.255.
    bool isLocalGroup() const;
    /// Class A-C, A >= 1.0.0.0, M all ones.
    bool isHostType() const;
    /// A = 0 and M = 0.
    bool isDefGwType() const;
    /// (T, H = 0, N != 0, N != M) or the default route.
    bool isNetType() const;
    /// T, H neither 0 nor ~M, N != 0, N != M.
    bool isIfaceType() const;
    /// 255.255.255.255, whatever the mask.
    bool isLimBcType() const;
    /// T, H = ~M, N != 0, N != M.
    bool isDirBcType() const;
    /// Host, net, interface, limited or directed broadcast.
    bool isValidAddress() const;
    /// IPv4 and (other's address AND this mask) equals this network address; other's
    /// version is not looked at.
    bool contains(IpAddress const& other) const;

    // ---- token readers over a String: a position outside the text reads as NUL ----
    /// One octet (0 to 255); advances position. False with position unchanged when no digit
    /// starts there; false after reading digits when the value passes 255.
    static bool s_getV4IpAddrTokenOfString(String const& text, long& position,
                                           unsigned long& value);
    /// One prefix length (0 to 32, at most two digits), as the octet reader.
    static bool s_getV4NetMaskSizeOfString(String const& text, long& position,
                                           unsigned long& value);
    /// True, and position advanced by one, when c stands at position.
    static bool s_getCharOfString(String const& text, long& position, char c);
    /// position >= text.length().
    static bool s_getEndOfString(String const& text, long position);
    /// True when mask (low 32 bits) is a run of leading ones, 0 and all ones included;
    /// size gets the number of leading ones in every case.
    static bool s_isV4MaskValid(unsigned long mask, unsigned long& size);

private:
    friend ORVIK_API bool operator==(IpAddress const& left, IpAddress const& right);

    uint32_t v4Address() const { return address[0]; }
    uint32_t v4Mask() const { return netMask[0]; }
    bool isV4() const { return version == IP_VERSION_4; }

    int32_t version;
    uint32_t address[4];
    uint32_t netMask[4];
};

/// Same version and all 16 bytes of address and of mask.
ORVIK_API bool operator==(IpAddress const& left, IpAddress const& right);
/// The negation of operator==.
ORVIK_API bool operator!=(IpAddress const& left, IpAddress const& right);

/// Leaves in out the IPv4 address of the highest-indexed interface that has one, scanning
/// indices 1, 2, ... up to the first index that names no interface; 127.0.0.1 when none
/// has an address (or no socket could be opened). out's mask is never changed.
ORVIK_API void GET_DEFAULT_IP_ADDRESS(IpAddress& out);

#endif
