// An ordered set of unique text tags with text values, carried whole in a one-line string
// form "<tag>value</tag>..." from which an equal set is rebuilt.
#ifndef ORVIK_UTILITIES_CONFIG_PARAM_LIST_H
#define ORVIK_UTILITIES_CONFIG_PARAM_LIST_H

/// @file

#include <orvik_utilities/containers/LinkedList.h>
#include <orvik_utilities/export.h>
#include <orvik_utilities/text/String.h>

/// Entries sorted by tag in strcmp order. String form: the elements "<" tag ">" value "</"
/// tag ">" in list order, tag and value escaped as "%25" for '%', "%3c" for '<' and "%3e"
/// for '>'; the empty list gives "".
///
/// The list owns its entries; no process-wide state, one thread at a time per list (the
/// string form is cached inside, so even the const calls write).
class ORVIK_API ParamList {
public:
    /// One entry; a copy starts unlinked, assignment leaves the links alone.
    class ORVIK_API TagValuePair : public LinkedListElement<TagValuePair> {
    public:
        /// Empty tag and value, unlinked.
        TagValuePair();
        /// Same tag and value (shared buffers), unlinked.
        TagValuePair(TagValuePair const& other);
        /// Drops the tag and value; the links are cleared, not unlinked.
        ~TagValuePair() override;
        /// Copies tag and value; each pair keeps its place in its list.
        TagValuePair& operator=(TagValuePair const& other);

        /// The tag, unescaped.
        String tag;
        /// The value, unescaped.
        String value;
    };

    /// An empty list.
    ParamList();
    /// Deletes every entry.
    virtual ~ParamList();
    ParamList(ParamList const&) = delete;

    /// Replaces the value of an existing tag, or inserts the pair at its sorted place (left
    /// out when memory runs out).
    void setTagValue(String const& tag, String const& value);
    /// The unsigned decimal text of value, of its low 32 bits where unsigned long is wider
    /// (as the 32-bit reader gives it back).
    void setTagValue(String const& tag, unsigned long value);
    /// True and value set when the tag exists; false and value untouched otherwise.
    bool getTagValue(String const& tag, String& value) const;
    /// The value read with u_valueOf32.
    bool getTagValue(String const& tag, unsigned long& value) const;
    /// The string form, built on the first call after a change and kept until the next one.
    /// When memory runs out it is the empty text, and the next call tries again.
    String const& getTagValueString() const;
    /// Replaces all entries with the well-formed elements of text; anything else (text
    /// between elements, broken or nested elements) is skipped, and reading goes on at the
    /// next '<'. A repeated tag keeps the value of its last element. A '%' that is not
    /// followed by two hexadecimal digits (either case) stays as it is, with what follows.
    void setTagValueString(String const& text);
    /// Makes this list equal to other: the entries are dropped first, then copies of
    /// other's appended (any that cannot be allocated are left out).
    ParamList& operator=(ParamList const& other);

private:
    LinkedListManager<TagValuePair> list;
    mutable String stringForm;
    mutable bool stringFormValid;
};

#endif
