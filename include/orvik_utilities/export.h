// Export and linkage markers for the library's public interface.
#ifndef ORVIK_UTILITIES_EXPORT_H
#define ORVIK_UTILITIES_EXPORT_H

// The library is built with hidden visibility; only what carries ORVIK_API is
// part of the shared object's interface.
#define ORVIK_API __attribute__((visibility("default")))

// printf-style argument checking for front ends whose conversions are a subset of printf's.
#define ORVIK_PRINTF_LIKE(format_index, first_arg)                                                 \
    __attribute__((format(printf, format_index, first_arg)))

#endif
