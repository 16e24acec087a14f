#include "chains.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "report.h"
#include "suggestion.h"

namespace tool {
namespace {

/// Takes what a quote or bracket encloses off the front, with both.
std::string takeEnclosed(std::string_view& path, char end) {
  std::string content(path.substr(1, path.find(end, 1) - 1));
  path.remove_prefix(std::min(content.size() + 2, path.size()));
  return content;
}

/// Takes one step of a path off the front, as a component of a key chain; empty where none follows
/// that can be one.
std::string takeStep(std::string_view& path) {
  if (path.starts_with('.')) path.remove_prefix(1);
  std::string_view inside = path.starts_with('[') ? path.substr(1) : path;
  if (inside.starts_with('"')) {
    std::string name = takeEnclosed(inside, '"');
    path = inside.starts_with(']') ? inside.substr(1) : inside;
    return name.find('/') == std::string::npos ? name : std::string();
  }
  if (path.starts_with('[')) {  // an index that is counted from the end, or a range, is none
    const std::string index = takeEnclosed(path, ']');
    const bool isIndex = index.find_first_not_of("0123456789") == std::string::npos;
    return isIndex && (index == "0" || index.find_first_not_of('0') == 0) ? '[' + index + ']' : "";
  }
  std::string name(path.substr(0, path.find_first_of(" .[]|?()\"',;:=<>!/")));
  path.remove_prefix(name.size());
  return name;
}

/// What is wrong with a component of a key chain in brackets, and what was meant instead.
struct IndexFault {
  const char* what = nullptr;
  std::string meant;
};

IndexFault faultOf(const std::string& component) {
  if (!component.starts_with('[') || !component.ends_with(']')) return {};
  if (component == "[]") return {"brackets without an index", "[0]"};
  char* end = nullptr;
  errno = 0;
  const long long index = std::strtoll(component.c_str() + 1, &end, 0);
  const bool isWhole = end == &component.back();
  if (isWhole && errno == ERANGE) return {"an index beyond 64 bits", {}};
  const long long decimal = std::strtoll(component.c_str() + 1, &end, 10);
  if (!isWhole || decimal == index || end != &component.back()) return {};
  return {"a leading 0 makes an index octal", '[' + std::to_string(decimal) + ']'};
}

}  // namespace

std::string chainOfPath(std::string_view path) {
  std::string chain;
  for (std::string step = takeStep(path); !step.empty(); step = takeStep(path)) {
    chain += (chain.empty() ? "" : "/") + step;
  }
  return chain.empty() ? "." : chain;
}

void refuseMisleadingChain(const std::string& chain) {
  for (std::size_t start = 0; start < chain.size();) {
    const std::size_t end = std::min(chain.find('/', start), chain.size());
    const IndexFault fault = faultOf(chain.substr(start, end - start));
    if (fault.what != nullptr) {
      std::string meant = chain;
      meant.replace(start, end - start, fault.meant);
      throw Failure(kUsage, std::string(fault.what) + ": " + chain +
                                didYouMean(fault.meant.empty() ? fault.meant : meant));
    }
    start = end + 1;
  }
}

}  // namespace tool
