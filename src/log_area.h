// Messages of the library, and the one place where a contract violation ends the process.
#ifndef VEXO_VARIANT_SRC_LOG_AREA_H
#define VEXO_VARIANT_SRC_LOG_AREA_H

#include "vexo_host/host.h"

namespace vexo::variant {

/// The name under which a message is known, and the line that raises it.
struct LogSite {
  const char* function;
  int line;
  constexpr LogSite(const char* name, int at = __builtin_LINE()) : function(name), line(at) {}
};

/// The messages of one source file, named as "src/variant_bin".
struct LogArea {
  enum Level { kError = 3, kNotice = 4, kDebug = 7 };

  const char* file;

  // A format that comes in as a parameter is no literal to the compiler; every caller passes one.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
  template <class... Args>
  void log(Level level, LogSite site, const char* format, Args... args) const {
    logInternal("vexo_variant", file, site.function, site.line, level, 0, 0, format, args...);
  }
#pragma GCC diagnostic pop
  template <class... Args>
  void error(LogSite site, const char* format, Args... args) const {
    log(kError, site, format, args...);
  }
  template <class... Args>
  [[noreturn]] void violation(LogSite site, const char* format, Args... args) const {
    log(kError, site, format, args...);
    forceCrash();
  }
};

}  // namespace vexo::variant

#endif
