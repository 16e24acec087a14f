// Formatting into a new string.
#ifndef VEXO_UTILS_FORMAT_H
#define VEXO_UTILS_FORMAT_H

#include <string>

namespace vexo::utils {

/// printf into a new string. Numbers with a decimal point follow the locale, as printf's do. Throws
/// `std::bad_alloc`; an invalid format gives an empty string.
__attribute__((visibility("default"), format(printf, 1, 2))) std::string format(const char* format,
                                                                                ...);

}  // namespace vexo::utils

#endif
