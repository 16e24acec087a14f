#include <vexo_variant/lookup.h>

#include <iostream>

using namespace vexo::variant;

int main() {
  Variant config;
  if (config.FromJSON(R"({"network": {"mtu": 1500 /* bytes */}})") < 0) return 1;

  config["network"]["ntp"][-1] = "192.0.2.7";  // creates what is missing; -1 appends
  const int mtu = valueOr(find(config, "network", "mtu"), 576);  // creates nothing
  const std::string proxy = valueOr(config, KeyChain("network/proxy"), "none");

  std::cout << "mtu " << mtu << ", proxy " << proxy << '\n' << config.ToString() << '\n';
  return config.ToBINFile("device.bin") ? 0 : 1;
}
