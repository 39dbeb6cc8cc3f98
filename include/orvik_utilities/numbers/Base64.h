// Base64 (RFC 4648 alphabet, '=' padding) between bytes and String text, optionally in
// lines ended by "\r\n".
#ifndef ORVIK_UTILITIES_NUMBERS_BASE64_H
#define ORVIK_UTILITIES_NUMBERS_BASE64_H

/// @file

#include <orvik_utilities/export.h>
#include <orvik_utilities/text/String.h>

/// Static members only; no state, so any thread may call them.
class ORVIK_API Base64 {
public:
    Base64() = delete;

    /// Replaces text with the encoding of count bytes. lineLength 0 writes one line without
    /// a break; otherwise every line, the last included, holds max(1, lineLength / 4) blocks
    /// and ends in "\r\n". Null bytes count as none. Returns 0. When the text cannot be allocated
    /// (or would pass 2^31-1 characters) it returns -1 and leaves text unchanged rather than cut it
    /// short.
    static int encode(unsigned char const* bytes, unsigned long count, unsigned long lineLength,
                      String& text);

    /// Decodes text, skipping every character outside the alphabet ('=' and line breaks
    /// included); a lone trailing character yields no byte. On entry length is output's
    /// capacity, on return the bytes written. Returns 0, or -1 when output was too small:
    /// the bytes that fit are written and length holds the capacity. A null output counts
    /// as capacity 0.
    static int decode(String const& text, unsigned char* output, unsigned long& length);

    /// Encodes input[0..2] into 4 characters; validBytes (1 to 3) below 2 or 3 puts '=' in
    /// place of the last characters. All 3 input bytes are read: the caller zeroes unused
    /// ones.
    static void encodeBlock(unsigned char* input, unsigned char* output, long validBytes);
    /// The same for read-only input: input is only read.
    template <typename Bytes, typename = orvik::detail::IfReadOnly<Bytes, unsigned char>>
    static void encodeBlock(Bytes input, unsigned char* output, long validBytes) {
        encodeBlock(const_cast<unsigned char*>(input), output, validBytes);
    }

    /// Packs 4 six-bit values into 3 bytes.
    static void decodeBlock(unsigned char* input, unsigned char* output);
};

#endif
