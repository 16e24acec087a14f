// Taking texts apart.
#ifndef VEXO_UTILS_STRINGS_H
#define VEXO_UTILS_STRINGS_H

#include <string>
#include <vector>

namespace vexo::utils {

/// Appends to `pieces` what lies between the occurrences of `delimiter`, empty pieces included: one
/// piece more than there are delimiters. An empty delimiter occurs nowhere.
__attribute__((visibility("default"))) void split(const std::string& text,
                                                  const std::string& delimiter,
                                                  std::vector<std::string>& pieces);

/// Removes leading white space: space, tab, line feed, vertical tab, form feed, carriage return.
__attribute__((visibility("default"))) void lTrim(std::string& text);

}  // namespace vexo::utils

#endif
