#include <vexo_variant/ostream.h>

#include <array>
#include <iostream>
#include <utility>

using vexo::variant::Variant;

int main() {
  Variant config;
  config.FromJSON(R"({"streams": [{"title": "Gate"}, {"title": "Yard"}]})");

  const Variant backup = config;                   // a deep copy: nothing is shared
  Variant gate = std::move(config["streams"][0]);  // takes the subtree, leaves null
  config["streams"].RemoveValue(0);                // the others keep their keys
  config["archive"][-1] = std::move(gate);         // constant time, whatever is below
  std::cout << config << '\n' << backup << '\n';

  const Variant& yard = config["streams"][1];  // reads without a copy
  std::cout << yard["title"] << '\n';

  std::array<std::uint8_t, 3> frame{1, 2, 3};        // must outlive `packet`
  Variant packet(frame.data(), frame.size(), true);  // refers to the bytes
  const Variant kept = packet;                       // owns a copy of them
  frame[0] = 9;
  std::cout << packet << ' ' << kept << '\n';
}
