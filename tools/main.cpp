// vexo-variant: converts, shows, queries and compares files that hold a value of
// vexo::variant::Variant.
#include <cxxabi.h>
#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <new>
#include <typeinfo>

#include "command_line.h"
#include "report.h"

namespace {

constexpr const char* kOutOfMemory = "out of memory";

/// Memory may also run out where main cannot catch it: while the option parser's constants are
/// made, or for the exception itself, of which there is none then.
[[noreturn]] void endUncaught() {
  const std::type_info* type = abi::__cxa_current_exception_type();
  if (type != nullptr && *type != typeid(std::bad_alloc)) std::abort();
  tool::printLine(kOutOfMemory);
  ::_exit(tool::kInputOutput);
}

/// Before all constants: 101 is the first priority that programs may use.
[[gnu::constructor(101)]] void catchUncaught() { std::set_terminate(endUncaught); }

}  // namespace

int main(int argc, char** argv) {
  try {
    return tool::runCommandLine(argc, argv);
  } catch (const tool::Failure& failure) {
    tool::printLine(failure.what());
    return failure.code();
  } catch (const std::bad_alloc&) {
    tool::printLine(kOutOfMemory);
  } catch (const std::exception& error) {
    tool::printLine(error.what());
  }
  return tool::kInputOutput;
}
