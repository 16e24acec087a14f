#include <vexo_host/host.h>
#include <vexo_variant/variant.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

extern "C" void logInternal(const char* module, const char*, const char* function, int, int level,
                            int, int, const char* format, ...) {
  std::printf("<%d> %s %s: ", level, module, function);
  va_list arguments;
  va_start(arguments, format);
  std::vprintf(format, arguments);
  va_end(arguments);
  std::puts("");
}

extern "C" void forceCrash() {
  std::puts("the watchdog starts us again");
  std::fflush(stdout);
  std::_Exit(70);  // it must not return
}

int main() {
  vexo::variant::Variant settings;
  settings.FromKVP("mode=on\nno separator\n", false, false, true);  // input: logged at most
  settings["name"] = "gate-17";
  const int name = settings["name"];  // a mistake of the program
  return name;
}
