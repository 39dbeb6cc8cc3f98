// libFuzzer target for the integer readers, their validators and the small converters: a
// text is valid exactly when it renders back from its value, the 16-bit readers are the
// 32-bit ones cut, and the dump stays inside the size its size function gives.
#include <orvik_utilities/numbers/Converters.h>
#include <orvik_utilities/numbers/IntegerText.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    std::string const text(reinterpret_cast<char const*>(data), size);
    char const* t = text.c_str();

    char rendered[34];
    int32_t status = 1;
    int32_t const value = validValueOf32(&status, t);
    if (value != valueOf32(t) || static_cast<int16_t>(value) != valueOf16(t) ||
        static_cast<uint16_t>(u_valueOf32(t)) != u_valueOf16(t))
        std::abort();
    if ((status == 0) != (std::strcmp(i32toa(value, rendered, 10), t) == 0))
        std::abort();
    int32_t ranged = 1;
    validRangeValueOf32(&ranged, t, -1000, 1000);
    if ((ranged == 0) != (status == 0 && value >= -1000 && value <= 1000))
        std::abort();
    u_validRangeValueOf16(&ranged, t, 1, 9);
    validRangeValueOf16(&ranged, t, -9, 9);
    u_validValueOf32(&status, t);

    uint32_t address = 0;
    convIPStr2IPUl(t, &address);
    char dotted[16];
    convIPUL2IPStr(address, dotted);
    validateTimeString(t);
    validateTime(t);
    validateDate(t);
    e164Number(t);

    // The dump of the input's bytes with a line length taken from its first byte.
    int32_t const line = size > 0 ? static_cast<int8_t>(data[0]) : 0;
    auto const length = static_cast<int32_t>(size);
    std::vector<uint32_t> words(size / 4 + 1);
    std::memcpy(words.data(), data, size);
    int32_t const needed = nbrOfChars_forDataChunk2String(length, line);
    std::vector<char> out(static_cast<std::size_t>(needed));
    dataChunk2String(words.data(), out.data(), length, line);
    if (std::strlen(out.data()) + 1 > static_cast<std::size_t>(needed))
        std::abort();
    return 0;
}
