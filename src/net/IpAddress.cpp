// IPv4 address and mask: parsing, printing and classification, all in 32-bit words.
#include <orvik_utilities/net/IpAddress.h>

#include <cstring>

const unsigned long IpAddress::ipv4Loopback;
const unsigned long IpAddress::ipv4McGrpUnspecified;
const unsigned long IpAddress::ipv4McGrpAllHosts;
const unsigned long IpAddress::ipv4McGrpAllRouters;

namespace {

char charAt(String const& text, long position) {
    return position >= 0 && position < text.length() ? text.buffer()[position] : '\0';
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// "0", or up to maxDigits digits without a leading zero, at most maximum.
bool readNumber(String const& text, long& position, unsigned long& value, int maxDigits,
                unsigned long maximum) {
    value = 0;
    char c = charAt(text, position);
    if (c == '0') {
        ++position;
        return true;
    }
    if (!isDigit(c))
        return false;
    for (int digits = 0; digits < maxDigits && isDigit(c); ++digits) {
        value = value * 10 + static_cast<unsigned long>(c - '0');
        c = charAt(text, ++position);
    }
    return value <= maximum;
}

// Four dotted octets as one word, first octet most significant.
bool readDottedQuad(String const& text, long& position, uint32_t& word) {
    uint32_t result = 0;
    for (int i = 0; i < 4; ++i) {
        unsigned long octet = 0;
        if (i > 0 && !IpAddress::s_getCharOfString(text, position, '.'))
            return false;
        if (!IpAddress::s_getV4IpAddrTokenOfString(text, position, octet))
            return false;
        result = result << 8 | static_cast<uint32_t>(octet);
    }
    word = result;
    return true;
}

uint32_t maskOfSize(unsigned long size) { return size == 0 ? 0u : UINT32_MAX << (32 - size); }

uint32_t leadingOnes(uint32_t mask) {
    uint32_t count = 0;
    while (count < 32 && (mask & (0x80000000u >> count)) != 0)
        ++count;
    return count;
}

String& writeDotted(String& text, bool v4, uint32_t word) {
    text = "";
    if (v4)
        text.concatf("%lu.%lu.%lu.%lu", static_cast<unsigned long>(word >> 24),
                     static_cast<unsigned long>(word >> 16 & 255),
                     static_cast<unsigned long>(word >> 8 & 255),
                     static_cast<unsigned long>(word & 255));
    return text;
}

} // namespace

IpAddress::IpAddress() { init(); }

IpAddress::IpAddress(unsigned long addressWord, unsigned long netMaskWord) {
    init();
    unsigned long size = 0;
    if (s_isV4MaskValid(netMaskWord, size)) {
        version = IP_VERSION_4;
        address[0] = static_cast<uint32_t>(addressWord);
        netMask[0] = static_cast<uint32_t>(netMaskWord);
    }
}

IpAddress::IpAddress(String const& text) {
    init();
    setIpAddrAsString(text);
}

IpAddress::IpAddress(String const& addressText, String const& netMaskText) {
    init();
    if (setIpAddrAsString(addressText) != 0 || setNetMaskAsString(netMaskText) != 0)
        init();
}

IpAddress::IpAddress(IpAddress const& other) : version(other.version), address(), netMask() {
    std::memcpy(address, other.address, sizeof address);
    std::memcpy(netMask, other.netMask, sizeof netMask);
}

IpAddress::~IpAddress() {}

IpAddress& IpAddress::operator=(IpAddress const& other) {
    if (this != &other) {
        version = other.version;
        std::memcpy(address, other.address, sizeof address);
        std::memcpy(netMask, other.netMask, sizeof netMask);
    }
    return *this;
}

void IpAddress::init() {
    version = IP_VERSION_NONE;
    std::memset(address, 0, sizeof address);
    std::memset(netMask, 0xFF, sizeof netMask);
}

bool IpAddress::isEmpty() const { return *this == IpAddress(); }

IpAddress& IpAddress::EMPTY() {
    // Registered for destruction at exit by the first call.
    static IpAddress empty;
    return empty;
}

// ---- text --------------------------------------------------------------------------------

String& IpAddress::getIpAddrAsString(String& text) const {
    return writeDotted(text, isV4(), v4Address());
}

int IpAddress::setIpAddrAsString(String const& text) {
    long position = 0;
    uint32_t word = 0;
    if (!readDottedQuad(text, position, word))
        return -1;
    unsigned long prefix = 0;
    bool const withPrefix = !s_getEndOfString(text, position);
    if (withPrefix &&
        !(s_getCharOfString(text, position, '/') &&
          s_getV4NetMaskSizeOfString(text, position, prefix) && s_getEndOfString(text, position)))
        return -1;
    version = IP_VERSION_4;
    address[0] = word;
    if (withPrefix)
        setNetMaskSize(prefix);
    return 0;
}

String& IpAddress::getNetAddressAsString(String& text) const {
    return writeDotted(text, isV4(), v4Address() & v4Mask());
}

String& IpAddress::getNetMaskAsString(String& text) const {
    return writeDotted(text, isV4(), v4Mask());
}

int IpAddress::setNetMaskAsString(String const& text) {
    long position = 0;
    uint32_t word = 0;
    if (!readDottedQuad(text, position, word) || !s_getEndOfString(text, position))
        return -1;
    return setV4NetMaskAsBinaryUInt32(word);
}

// ---- words -------------------------------------------------------------------------------

unsigned long& IpAddress::getV4IpAddrAsBinaryUInt32(unsigned long& word) const {
    word = v4Address();
    return word;
}

unsigned long IpAddress::getV4IpAddrAsBinaryUInt32() const { return v4Address(); }

int IpAddress::setV4IpAddrAsBinaryUInt32(unsigned long word) {
    version = IP_VERSION_4;
    address[0] = static_cast<uint32_t>(word);
    return 0;
}

unsigned long& IpAddress::getV4NetAddrAsBinaryUInt32(unsigned long& word) const {
    word = v4Address() & v4Mask();
    return word;
}

unsigned long IpAddress::getV4NetAddrAsBinaryUInt32() const { return v4Address() & v4Mask(); }

unsigned long& IpAddress::getV4NetMaskAsBinaryUInt32(unsigned long& word) const {
    word = v4Mask();
    return word;
}

unsigned long IpAddress::getV4NetMaskAsBinaryUInt32() const { return v4Mask(); }

int IpAddress::setV4NetMaskAsBinaryUInt32(unsigned long word) {
    unsigned long size = 0;
    if (!s_isV4MaskValid(word, size))
        return -1;
    version = IP_VERSION_4;
    netMask[0] = static_cast<uint32_t>(word);
    return 0;
}

unsigned long& IpAddress::getNetMaskSize(unsigned long& size) const {
    size = getNetMaskSize();
    return size;
}

unsigned long IpAddress::getNetMaskSize() const { return isV4() ? leadingOnes(v4Mask()) : 0; }

int IpAddress::setNetMaskSize(unsigned long size) {
    if (!isV4() || size > 32)
        return -1;
    netMask[0] = maskOfSize(size);
    return 0;
}

bool IpAddress::isMaskValid(unsigned long& size) const {
    return isV4() && s_isV4MaskValid(v4Mask(), size);
}

// ---- IPv6 --------------------------------------------------------------------------------

unsigned char* IpAddress::getV6IpAddrAsBinaryString(unsigned char* bytes) const { return bytes; }
unsigned char* IpAddress::getV6NetAddrAsBinaryString(unsigned char* bytes) const { return bytes; }
unsigned char* IpAddress::getV6NetMaskAsBinaryString(unsigned char* bytes) const { return bytes; }
int IpAddress::setV6IpAddrAsBinaryString(unsigned char const*) { return -1; }
int IpAddress::setV6NetMaskAsBinaryString(unsigned char const*) { return -1; }
bool IpAddress::s_isV6MaskValid(char const*, unsigned long const&) { return false; }

// ---- classification ----------------------------------------------------------------------

bool IpAddress::isV4ClassA() const { return isV4() && (v4Address() >> 31) == 0; }
bool IpAddress::isV4ClassB() const { return isV4() && (v4Address() >> 30) == 2; }
bool IpAddress::isV4ClassC() const { return isV4() && (v4Address() >> 29) == 6; }
bool IpAddress::isV4ClassD() const { return isV4() && (v4Address() >> 28) == 14; }
bool IpAddress::isV4ClassE() const { return isV4() && (v4Address() >> 28) == 15; }
bool IpAddress::isV4ClassABC() const { return isV4() && v4Address() < 0xE0000000u; }
bool IpAddress::isLoopback() const { return isV4() && (v4Address() & 0xFF000000u) == 0x7F000000u; }
bool IpAddress::isLocalGroup() const {
    return isV4() && (v4Address() & 0xFFFFFF00u) == 0xE0000000u;
}

bool IpAddress::isHostType() const {
    return isV4ClassABC() && v4Address() >= 0x01000000u && v4Mask() == UINT32_MAX;
}

bool IpAddress::isDefGwType() const { return isV4() && v4Address() == 0 && v4Mask() == 0; }

namespace {

// The parts of an address that a route or an interface may name: a unicast class, a first
// octet, and a mask leaving room for a network and at least two hosts. With it, the host
// part H and network part N of the words, and whether N is a proper network.
struct Parts {
    bool transit;
    uint32_t host;
    uint32_t network;
    uint32_t hostMask;
    bool properNetwork;
};

Parts partsOf(IpAddress const& ip) {
    unsigned long size = 0;
    uint32_t const a = static_cast<uint32_t>(ip.getV4IpAddrAsBinaryUInt32());
    uint32_t const m = static_cast<uint32_t>(ip.getV4NetMaskAsBinaryUInt32());
    Parts parts;
    parts.transit = ip.isV4ClassABC() && (a & 0xFF000000u) != 0 && ip.isMaskValid(size) &&
                    size >= 2 && size <= 30;
    parts.host = a & ~m;
    parts.network = a & m;
    parts.hostMask = ~m;
    parts.properNetwork = parts.network != 0 && parts.network != m;
    return parts;
}

} // namespace

bool IpAddress::isNetType() const {
    Parts const p = partsOf(*this);
    return (p.transit && p.host == 0 && p.properNetwork) || isDefGwType();
}

bool IpAddress::isIfaceType() const {
    Parts const p = partsOf(*this);
    return p.transit && p.host != 0 && p.host != p.hostMask && p.properNetwork;
}

bool IpAddress::isLimBcType() const { return isV4() && v4Address() == UINT32_MAX; }

bool IpAddress::isDirBcType() const {
    Parts const p = partsOf(*this);
    return p.transit && p.host == p.hostMask && p.properNetwork;
}

bool IpAddress::isValidAddress() const {
    return isHostType() || isNetType() || isIfaceType() || isLimBcType() || isDirBcType();
}

bool IpAddress::contains(IpAddress const& other) const {
    return isV4() && (other.v4Address() & v4Mask()) == (v4Address() & v4Mask());
}

// ---- token readers -----------------------------------------------------------------------

bool IpAddress::s_getV4IpAddrTokenOfString(String const& text, long& position,
                                           unsigned long& value) {
    return readNumber(text, position, value, 3, 255);
}

bool IpAddress::s_getV4NetMaskSizeOfString(String const& text, long& position,
                                           unsigned long& value) {
    return readNumber(text, position, value, 2, 32);
}

bool IpAddress::s_getCharOfString(String const& text, long& position, char c) {
    if (charAt(text, position) != c)
        return false;
    ++position;
    return true;
}

bool IpAddress::s_getEndOfString(String const& text, long position) {
    return position >= text.length();
}

bool IpAddress::s_isV4MaskValid(unsigned long mask, unsigned long& size) {
    uint32_t const word = static_cast<uint32_t>(mask);
    uint32_t const ones = leadingOnes(word);
    size = ones;
    return word == maskOfSize(ones);
}

// ---- comparison --------------------------------------------------------------------------

bool operator==(IpAddress const& left, IpAddress const& right) {
    return left.version == right.version &&
           std::memcmp(left.address, right.address, sizeof left.address) == 0 &&
           std::memcmp(left.netMask, right.netMask, sizeof left.netMask) == 0;
}

bool operator!=(IpAddress const& left, IpAddress const& right) { return !(left == right); }
