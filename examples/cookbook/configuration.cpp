#include <vexo_variant/variant.h>

#include <iostream>

using vexo::variant::Variant;

int main() {
  Variant config;
  if (config.FromJSON(R"({
        "Name": "gate-17",
        "retries": 25,   # the most is 10
        "https": "yes",  # not a boolean
      })") < 0) {
    return 1;
  }
  config.PreValidate("name", vexo::variant::V_STRING, false, "unnamed");  // in any case of letters
  config.ValidateNumeric("retries", 1, 10, 3, true);                      // least, most, default
  config.ValidateNumeric("mtu", 576, 9000, 1500, true);
  config.ValidateBool("https", true, true);
  config.ValidateMap("limits", true);
  config["limits"].ValidateNumeric("clients", 1, 64, 16, true);
  config.Compact();

  const std::string& name = config["name"];
  const int mtu = config["mtu"];
  std::cout << name << " sends " << mtu << " bytes at a time\n" << config.ToString() << '\n';
}
