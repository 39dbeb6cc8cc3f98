// libFuzzer target for the parameter list reader: any text is read without harm, and the
// string form of what was read reads back to the same list (the same form).
#include <orvik_utilities/config/ParamList.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    String text;
    text.concat(reinterpret_cast<char const*>(data), long(size));
    ParamList list;
    list.setTagValueString(text);
    String const form = list.getTagValueString();
    ParamList again;
    again.setTagValueString(form);
    String const second = again.getTagValueString();
    if (second.length() != form.length() ||
        std::memcmp(second.buffer(), form.buffer(), std::size_t(form.length())) != 0)
        std::abort();
    ParamList copy;
    copy = again;
    if (!(copy.getTagValueString() == form))
        std::abort();
    return 0;
}
