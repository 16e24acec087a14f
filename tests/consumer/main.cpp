#include <vexo_utils/io_buffer.h>
#include <vexo_variant/text_error.h>
#include <vexo_variant/variant.h>

#include <cstdio>

using vexo::variant::Variant;

int main() {
  Variant config;
  config["network"]["port"] = 8080;
  config["network"]["dns"][-1] = "192.0.2.1";

  vexo::utils::IOBuffer wire;
  const unsigned int size = config.ToBIN(wire);
  Variant copy;
  const bool same = copy.FromBIN(wire.data(), size) == size && copy == config && wire.Ignore(size);

  std::string text;
  copy.ToJSON(text, false);
  std::puts(text.c_str());
  return same && text == R"({"network":{"dns":["192.0.2.1"],"port":8080}})" ? 0 : 1;
}
