#include <vexo_variant/lookup.h>

#include <iostream>

using namespace vexo::variant;

int main() {
  Variant config;
  config.FromJSON(R"({"name": "gate-17", "network": {"mtu": 70000, "ports": [80, 443]}})");

  if (const Variant* port = find(config, "network", "ports", 1)) {
    std::cout << "second port: " << valueOr(port, 0) << '\n';
  }
  std::cout << "name: " << valueOr(config, "name", "none") << '\n'
            << "proxy: " << valueOr(config, KeyChain("network/proxy"), "none") << '\n';

  // 70000 is a number, but not one of 16 bits; "gate-17" is no number at all.
  const auto mtu = valueAs<std::uint16_t>(find(config, "network", "mtu"));
  std::cout << "mtu: " << (mtu ? "fits" : "does not fit") << ", or " << mtu.value_or(1500) << '\n'
            << "name as a number: " << valueOr(config, "name", -1) << '\n';

  if (Variant* ports = find(config, "network", "ports")) (*ports)[-1] = 8080;
  std::cout << "members: " << config.KeysCount()
            << ", ports: " << config["network"]["ports"].KeysCount() << '\n';
}
