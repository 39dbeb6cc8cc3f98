// Reader of "tag=value" configuration files: loads a file once and answers lookups by tag,
// as text or as an integer, with the caller's default for absent tags.
#ifndef ORVIK_UTILITIES_CONFIG_CONFIG_READER_H
#define ORVIK_UTILITIES_CONFIG_CONFIG_READER_H

/// @file

#include <orvik_utilities/export.h>
#include <orvik_utilities/text/String.h>

class INStringHashTable;

/// File format: lines are read in pieces of at most 1022 bytes (a longer line gives several
/// pieces, each read as a line of its own). A piece starting with '#' is a comment; one
/// without '=' is skipped. The tag is what stands before the first '=' with every byte of
/// code 0 to 32 removed; the value is the rest with such bytes trimmed at both ends (inside
/// it they stay, NUL included). No quoting; tags compare byte for byte; the first entry of
/// a tag wins and each later one is reported on standard output with
/// "cfg: Ignoring duplicate tag:%s=%s\n".
///
/// Before the first initialize and after cleanup there is no table: lookups answer their
/// default and add refuses (returns false), since only initialize knows the table size.
///
/// The reader owns its table and every stored value; no process-wide state, one thread at
/// a time per reader.
///
/// @code
/// ConfigReader cfg;
/// cfg.initialize("/etc/dnsd.cfg", 32);             // about the number of entries
/// String const server = cfg.getValue("server", "192.168.1.1");   // a copy, never a reference
/// long const retries = cfg.getValueAsInt("retries", 3);
/// @endcode
class ORVIK_API ConfigReader {
public:
    ConfigReader();
    virtual ~ConfigReader();
    ConfigReader(ConfigReader const&) = delete;
    ConfigReader& operator=(ConfigReader const&) = delete;

    /// Drops everything loaded before (through the virtual cleanup), makes a new table of
    /// tableSize (rounded to a power of two, at least 2) and reads the file to its end: true.
    /// When the file cannot be opened or no table can be made, prints
    /// "cfg: Error in config file <name>, line 0:\n" and "cfg:   \n" and returns false;
    /// lookups then answer their defaults.
    virtual bool initialize(String const& fileName, unsigned long tableSize);
    /// Frees every value and the table: back to the constructed state.
    virtual void cleanup();
    /// The stored value (valid until the next initialize, cleanup or destruction), or
    /// defaultValue itself: the result may be a reference to the argument, so a temporary
    /// default (a string literal) dies at the end of the statement. Keep the result in a
    /// String (a copy shares the buffer), never in a reference, unless the default outlives
    /// it; clang warns through the lifetime attribute, GCC 13 and later with
    /// -Wdangling-reference.
    virtual String const& getValue(String const& tag,
                                   String const& defaultValue ORVIK_LIFETIMEBOUND) const;
    /// The stored value as a number, or defaultValue when the tag is absent. "on" and "off"
    /// in any case give 1 and 0; any other text is read by valueOf32(), which never refuses:
    /// the radix is a trailing lowercase letter ("5dch" and "5dcx" are hexadecimal 1500,
    /// "101b" binary, "17o" octal, no letter decimal), a "0x" prefix is not understood
    /// ("0x10" gives 7210) and every other character counts as a digit by its code ("1500
    /// bytes" gives 149898033). To refuse such values, read the text with getValue() and
    /// check it with validRangeValueOf32() (canonical decimal only) before using it.
    virtual long getValueAsInt(String const& tag, long defaultValue) const;
    /// The tag is tagFormat formatted with index. tagFormat must hold exactly one integer
    /// conversion of d, i, u, o, x or X (flags, width and precision allowed, no '*', length
    /// "l", "h" or none) besides "%%"; any other format is not formatted at all and answers
    /// the default.
    ///
    /// Like getValue(), the result may be defaultValue itself: keep it in a String.
    virtual String const& getIndexedValue(String const& tagFormat, unsigned long index,
                                          String const& defaultValue ORVIK_LIFETIMEBOUND) const;
    /// getValueAsInt() of the tag formed as in getIndexedValue(): the same number rules.
    virtual long getIndexedValueAsInt(String const& tagFormat, unsigned long index,
                                      long defaultValue) const;

    /// Stores a copy of value under tag. False when the tag is present (reported, the first
    /// value stays), when there is no table, or when memory runs out.
    bool add(String const& tag, String const& value);
    /// Skips the leading spaces (' ' only) of src, then copies its first len characters
    /// without trailing spaces into dst and terminates it: true. False, dst untouched, when
    /// len >= dstSize, len is negative, fewer than len characters follow the spaces, or a
    /// pointer is null.
    bool strcpystrip(char* dst, int dstSize, char* src, int len);
    /// The same for read-only source text: src is only read.
    template <typename Text, typename = orvik::detail::IfReadOnly<Text, char>>
    bool strcpystrip(char* dst, int dstSize, Text src, int len) {
        return strcpystrip(dst, dstSize, const_cast<char*>(src), len);
    }
    /// The position of the first c in str; -1 when there is none, for NUL, for a null str.
    int indexof(char* str, char c);
    /// The same for read-only text: str is only read.
    template <typename Text, typename = orvik::detail::IfReadOnly<Text, char>>
    int indexof(Text str, char c) {
        return indexof(const_cast<char*>(str), c);
    }

private:
    INStringHashTable* table;
};

#endif
