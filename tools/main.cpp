// vexo-variant: converts, shows, queries and compares files that hold a value of
// vexo::variant::Variant.
#include <exception>
#include <new>

#include "command_line.h"
#include "report.h"

int main(int argc, char** argv) {
  try {
    return tool::runCommandLine(argc, argv);
  } catch (const tool::Failure& failure) {
    tool::printLine(failure.what());
    return failure.code();
  } catch (const std::bad_alloc&) {
    tool::printLine("out of memory");
  } catch (const std::exception& error) {
    tool::printLine(error.what());
  }
  return tool::kInputOutput;
}
