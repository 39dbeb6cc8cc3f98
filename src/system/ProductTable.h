// Which device model a system summary names, and the parts that model carries.
#ifndef ORVIK_UTILITIES_SYSTEM_PRODUCT_TABLE_H
#define ORVIK_UTILITIES_SYSTEM_PRODUCT_TABLE_H

#include <cstdint>

namespace orvik {
namespace detail {

struct ProductRow {
    int32_t model;
    int32_t wwanType;
    int32_t wlanType;
    int32_t gnssType;
    int32_t ethernetSwitchType;
    int32_t usbHostControllerType;
};

// False when summary lacks "Product type"; otherwise row is the one of the first product
// name found anywhere in summary, or all zero for none.
bool productFromSummary(char const* summary, ProductRow* row);

} // namespace detail
} // namespace orvik

#endif
