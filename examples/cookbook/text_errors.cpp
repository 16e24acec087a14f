#include <vexo_variant/text_error.h>

#include <iostream>
#include <string_view>

using namespace vexo::variant;

void report(const char* name, const TextError& error) {
  std::cout << name << ':' << error.position.line << ':' << error.position.column << ": "
            << error.reason << '\n';
}

int main() {
  Variant value;
  TextError error;
  const std::string_view json = "{\n  \"port\": 554,\n  \"host\" \"camera\"\n}\n";
  if (readJsonText(json.data(), static_cast<unsigned>(json.size()), value, error) < 0) {
    report("camera.json", error);
  }
  const std::string_view open = "{\"port\": 554} /* end";
  if (readJsonText(open.data(), static_cast<unsigned>(open.size()), value, error) < 0) {
    report("open.json", error);
  }
  const std::string_view kvp = "camera.port=554\ncamera.key=b64:AAH?\n";
  if (!readKvpText(kvp.data(), static_cast<unsigned>(kvp.size()), false, false, true, value,
                   error)) {
    report("camera.kvp", error);
  }
}
