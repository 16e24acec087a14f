#include "vexo_utils/strings.h"

#include <cstddef>

namespace vexo::utils {

void split(const std::string& text, const std::string& delimiter,
           std::vector<std::string>& pieces) {
  std::size_t start = 0;
  if (!delimiter.empty()) {
    for (std::size_t end = text.find(delimiter); end != std::string::npos;
         end = text.find(delimiter, start)) {
      pieces.push_back(text.substr(start, end - start));
      start = end + delimiter.size();
    }
  }
  pieces.push_back(text.substr(start));
}

void lTrim(std::string& text) { text.erase(0, text.find_first_not_of(" \t\n\v\f\r")); }

}  // namespace vexo::utils
