#include <vexo_variant/text_error.h>

#include <iostream>

using namespace vexo::variant;

void report(const char* name, const TextError& error) {
  std::cout << name << ':' << error.position.line << ':' << error.position.column << ": "
            << error.reason << '\n';
}

int main() {
  Variant value;
  TextError error;
  if (readJsonText("{\n  \"port\": 554,\n  \"host\" \"camera\"\n}\n", value, error) < 0) {
    report("camera.json", error);
  }
  if (readJsonText("{\"port\": 554} /* end", value, error) < 0) report("open.json", error);
  const char* const kvp = "camera.port=554\ncamera.key=b64:AAH?\n";
  if (!readKvpText(kvp, false, false, true, value, error)) report("camera.kvp", error);
}
