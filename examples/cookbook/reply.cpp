#include <vexo_variant/ostream.h>

#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

using vexo::variant::Variant;

/// Moves out: no copy is made.
Variant describe(const std::vector<std::string>& titles) {
  Variant reply;
  reply["status"] = 200;
  Variant& streams = reply["streams"];
  streams.IsArray(true);  // [] instead of null where there are none
  for (const std::string& title : titles) {
    Variant& stream = streams[-1];  // a new element
    stream["title"] = title;
    stream["live"] = !title.empty();
  }
  return reply;
}

int main() {
  std::cout << describe({}) << '\n'
            << describe({"Gate", "Caf\xC3\xA9 \"7/8\""}) << '\n'
            << std::setw(4) << describe({"Yard"}) << '\n';
}
