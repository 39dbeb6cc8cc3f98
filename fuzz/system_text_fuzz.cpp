// libFuzzer target for the texts the device services read: a log-level line searched for a
// program name, and a system summary searched for the product. The first byte gives the
// name's length, taken from the front of the rest; the remainder is the text.
#include "system/LogLevelLine.h"
#include "system/ProductTable.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr std::size_t kLineLimit = 79;     // what one fgets of the level file gives
constexpr std::size_t kSummaryLimit = 999; // what setup reads of the summary

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    if (size == 0)
        return 0;
    std::size_t const nameLength = std::min<std::size_t>(data[0] % 16, size - 1);
    std::string const name(reinterpret_cast<char const*>(data + 1), nameLength);
    std::string const text(reinterpret_cast<char const*>(data + 1 + nameLength),
                           size - 1 - nameLength);

    std::string const line = text.substr(0, kLineLimit);
    int32_t level = -1;
    bool const found = orvik::detail::levelFromLine(line.c_str(), name.c_str(), &level);
    if (found != (std::strstr(line.c_str(), name.c_str()) != nullptr))
        std::abort();
    if (found ? level < 0 || level > 7 : level != -1)
        std::abort();

    std::string const summary = text.substr(0, kSummaryLimit);
    orvik::detail::ProductRow row{-1, -1, -1, -1, -1, -1};
    bool const named = orvik::detail::productFromSummary(summary.c_str(), &row);
    if (named != (std::strstr(summary.c_str(), "Product type") != nullptr))
        std::abort();
    if (named ? row.model < 0 || row.model > 11 : row.model != -1)
        std::abort();
    return 0;
}
