#include <vexo_variant/variant.h>

#include <iostream>

using vexo::variant::BaseVariantContainer;
using vexo::variant::Variant;

class Stream final : public BaseVariantContainer {
 public:
  explicit Stream(const Variant& fields) : BaseVariantContainer(fields) { NormalizeFields(); }

  const std::string& title() const { return (*this)["title"]; }
  unsigned bitrate() const { return (*this)["bitrate"]; }

  void NormalizeFields() override {
    PreValidate("title", vexo::variant::V_STRING, true, "untitled");
    ValidateNumeric("bitrate", 64, 8000, 2000, true);
    Compact();
  }
};

int main() {
  Variant config;
  config.FromJSON(R"({"streams": [{"title": "Gate", "bitrate": 9000}, {}, 5]})");
  Variant& streams = config["streams"];
  for (auto member = streams.num_begin(); member != streams.num_end(); ++member) {
    const Stream stream(member->second);
    std::cout << stream.title() << " at " << stream.bitrate() << " kbit/s\n";
    member->second = stream;  // a record is a value
  }
  std::cout << config.ToString() << '\n';
}
