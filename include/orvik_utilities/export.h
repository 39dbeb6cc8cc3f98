// Export and linkage markers for the library's public interface, and the compile-time
// guards its headers put in front of easily misused calls.
#ifndef ORVIK_UTILITIES_EXPORT_H
#define ORVIK_UTILITIES_EXPORT_H

/// @file
/// @brief Markers shared by every public header.
///
/// The library is built with hidden visibility; only what carries ORVIK_API is part of the
/// shared object's interface. Everything else these headers add (deleted overloads, inline
/// forwarders, attributes) is compiled into the caller and never changes the exported
/// symbols.

/// Marks a class or function as part of the shared object's exported interface.
#define ORVIK_API __attribute__((visibility("default")))

/// printf-style argument checking for front ends whose conversions are a subset of printf's.
#define ORVIK_PRINTF_LIKE(format_index, first_arg)                                                 \
    __attribute__((format(printf, format_index, first_arg)))

/// Marks a parameter whose referent the call may return, so that the compiler can warn when
/// the result outlives a temporary bound to it (`[[clang::lifetimebound]]` under clang; empty
/// elsewhere: GCC 13 and later find the same fault with `-Wdangling-reference` on its own).
#if defined(__cplusplus) && defined(__clang__) && defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::lifetimebound)
#define ORVIK_LIFETIMEBOUND [[clang::lifetimebound]]
#endif
#endif
#ifndef ORVIK_LIFETIMEBOUND
#define ORVIK_LIFETIMEBOUND
#endif

#ifdef __cplusplus
#include <type_traits>

namespace orvik {
namespace detail {

/// True for the types that silently narrow to one character: every arithmetic and
/// enumeration type except the three narrow character types, which are bytes already.
template <typename T>
constexpr bool kNarrowsToCharacter = (std::is_arithmetic<T>::value || std::is_enum<T>::value) &&
                                     !std::is_same<T, char>::value &&
                                     !std::is_same<T, signed char>::value &&
                                     !std::is_same<T, unsigned char>::value;

/// Enables a deleted overload for the types above.
template <typename T>
using IfNarrowsToCharacter = typename std::enable_if<kNarrowsToCharacter<T>>::type;

/// Enables a read-only overload exactly for pointers to constant characters, so that a
/// mutable pointer, a null pointer constant and nullptr keep choosing the exported
/// function.
template <typename T, typename Character>
using IfReadOnly = typename std::enable_if<std::is_same<T, Character const*>::value>::type;

} // namespace detail
} // namespace orvik
#endif

#endif
