#include <vexo_variant/variant.h>

#include <iostream>
#include <vector>

using namespace vexo::variant;

/// Hides the passwords of a tree and removes its nulls. Deep trees need no deep stack.
void tidy(Variant& root) {
  std::vector<Variant*> open{&root};
  while (!open.empty()) {
    Variant& map = *open.back();
    open.pop_back();
    if (map != V_MAP && map != V_TYPED_MAP) continue;
    for (auto it = map.num_begin(); it != map.num_end(); ++it) open.push_back(&it->second);
    for (auto it = map.str_begin(); it != map.str_end();) {
      auto& [key, value] = *it++;  // before the member goes
      if (key == "password") value = "****";
      if (value == V_NULL) {
        map.RemoveValue(key);
      } else {
        open.push_back(&value);
      }
    }
  }
}

int main() {
  Variant config;
  config.FromJSON(R"({"proxy": null, "users": [{"name": "a", "password": "x", "mail": null}]})");
  tidy(config);
  std::cout << config.ToString() << '\n';
}
