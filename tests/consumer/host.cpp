// A host program that loads its plug-in, here the consumer, while it runs.
#include <dlfcn.h>

#include <cstdio>

int main(int, char** arguments) {
  void* const plugin = dlopen(arguments[1], RTLD_NOW);
  if (plugin == nullptr) {
    std::puts(dlerror());
    return 1;
  }
  return reinterpret_cast<int (*)()>(dlsym(plugin, "main"))();
}
