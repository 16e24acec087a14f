#include <vexo_variant/lookup.h>
#include <vexo_variant/text_error.h>

#include <fstream>
#include <iostream>
#include <iterator>

using namespace vexo::variant;

/// Reads a file that has to hold one JSON object and nothing else; says what is wrong with it.
bool load(const std::string& path, Variant& settings) {
  std::ifstream file(path, std::ios::binary);
  const std::string text(std::istreambuf_iterator<char>(file), {});  // empty without a file
  TextError error;
  const int end = readJsonText(text, settings, error);
  if (end >= 0) {
    const auto rest = static_cast<std::size_t>(end);
    const bool isObject = settings == V_MAP && !settings.IsArray();
    if (isObject && rest == text.size()) return true;
    error.position = locateText(text, isObject ? rest : 0);
    error.reason = isObject ? "expected end of text" : "expected an object";
  }
  std::cout << path << ':' << error.position.line << ':' << error.position.column << ": "
            << error.reason << '\n';
  return false;
}

int main() {
  std::ofstream("settings.json") << "{\"server\": {\"port\": 8080}, \"tls\": false, \"old\": 1}\n";
  Variant settings;
  if (!load("settings.json", settings)) return 1;

  const bool tls = valueOr(settings, "tls", true);
  const auto port = valueOr<std::uint16_t>(find(settings, "server", "port"), 80);
  std::cout << "port " << port << (tls ? ", encrypted" : ", plain") << '\n';

  settings["server"]["port"] = port + 1;
  settings.RemoveValue("old");
  if (!settings.ToJSONFile("settings.json", true)) return 1;  // the file is as it was, then
  std::cout << std::ifstream("settings.json").rdbuf() << '\n';

  std::ofstream("settings.json") << "{\n  \"server\": {\"port\" 8080}\n}\n";
  return load("settings.json", settings) ? 1 : 0;
}
