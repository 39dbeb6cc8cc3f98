// The model table: the name each model has in the summary, in the order names are tried.
#include "system/ProductTable.h"

#include <cstring>

namespace orvik {
namespace detail {

namespace {

struct Product {
    char const* name;
    ProductRow row;
};

// Tested in this order: each R variant before the plain name it contains.
constexpr Product kProducts[] = {
    {"TQ5010", {1, 2, 0, 0, 0, 0}},   {"TQ5xxx", {1, 2, 0, 0, 0, 0}},
    {"TQ5320", {2, 3, 0, 0, 2, 0}},   {"TQ5321", {3, 4, 0, 2, 2, 0}},
    {"TQ5630", {4, 5, 0, 0, 2, 2}},   {"TQ5631", {5, 5, 0, 3, 2, 2}},
    {"TQ5850", {6, 5, 2, 0, 2, 2}},   {"TQ5851", {7, 5, 2, 3, 2, 2}},
    {"TQ5800R", {9, 6, 2, 4, 2, 2}},  {"TQ5800", {8, 6, 2, 4, 2, 2}},
    {"TQ5900R", {11, 6, 2, 4, 2, 2}}, {"TQ5900", {10, 6, 2, 4, 2, 2}},
};

} // namespace

bool productFromSummary(char const* summary, ProductRow* row) {
    if (std::strstr(summary, "Product type") == nullptr)
        return false;
    for (Product const& product : kProducts) {
        if (std::strstr(summary, product.name) != nullptr) {
            *row = product.row;
            return true;
        }
    }
    *row = ProductRow{};
    return true;
}

} // namespace detail
} // namespace orvik
