#include <vexo_variant/lookup.h>
#include <vexo_variant/toml_text.h>

#include <iostream>

using namespace vexo::variant;

void load(const std::string& text) {
  Variant config;
  TextError error;
  if (readTomlText(text, config, error)) {
    const auto first = valueOr(find(config, "network", "dns", 0), "none");
    std::cout << "first server: " << first << '\n';
  } else {
    const TextPosition& at = error.position;
    std::cout << "gateway.toml:" << at.line << ':' << at.column << ": " << error.reason << '\n';
  }
}

int main() {
  load("[network]\ndns = ['192.0.2.53', '2001:db8::53']\n");
  load("[network]\nmtu = 01500\n");
}
