#include <vexo_utils/io_buffer.h>
#include <vexo_variant/lookup.h>
#include <vexo_variant/toml_text.h>
#include <vexo_variant/variant.h>

#include <cstdio>

using namespace vexo::variant;

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
  TextError error;
  const bool isToml = readTomlText("a = 1\nb = x", 11, config, error);
  const auto port = valueOr<std::uint16_t>(find(copy, "network", "port"), 80);
  return same && text == R"({"network":{"dns":["192.0.2.1"],"port":8080}})" && port == 8080 &&
                 !isToml && error.position.line == 2 && error.position.column == 5
             ? 0
             : 1;
}
