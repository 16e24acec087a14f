// Tries what docs/bin-format.md, docs/json.md and docs/kvp.md show as "input → what is shown of
// it", or with ↔ where it is written as the input again; ↵ stands for a line feed.
#include <algorithm>

#include "host.h"

namespace {

using namespace vexo::tests;
using namespace vexo::variant;

/// Whether the value of a note's format is read from all of the text; of BIN from its beginning.
bool isRead(const std::string& note, const std::string& text, V value, TextError& error) {
  const auto length = static_cast<unsigned>(text.size());
  if (note == "bin-format") return readBin(value, {text.begin(), text.end()}) > 0;
  if (note == "kvp") return readKvpText(text.data(), length, false, false, true, value, error);
  const auto count = static_cast<unsigned>(readJsonText(text.data(), length, value, error));
  if (count < length) error = {locateText(text.data(), length, count), "expected end of text"};
  return count == length;
}

TEST(FormatNotes, ShowWhatIsRead) {
  for (const std::string note : {"bin-format", "json", "kvp"}) {
    std::ifstream file(VEXO_TESTS_DIR "/../docs/" + note + ".md");
    int rows = 0;
    for (std::string line; std::getline(file, line);) {
      const std::size_t arrow = std::max(line.rfind(" → ") + 1, line.rfind(" ↔ ") + 1);
      if (arrow == 0 || line.front() == '`') continue;
      const std::string input = line.substr(0, line.find_last_not_of(' ', arrow - 1) + 1);
      const std::string mark = line.substr(arrow, 3), shown = line.substr(arrow + 4);
      const bool isBin = note == "bin-format";
      const Bytes bytes = isBin ? unhex(input) : Bytes();
      const std::string text = replaced(input, "↵", "\n");
      if (sizeof(timeval::tv_sec) < 8 && shown.starts_with("(TIMESTAMP) \"-")) continue;
      Variant value;
      TextError error;
      if (isRead(note, isBin ? std::string(bytes.begin(), bytes.end()) : text, value, error)) {
        EXPECT_EQ(replaced(replaced(value.ToString(), "    ", ""), "\n", " "), shown) << line;
      } else {  // the command tells what a BIN value lacks
        EXPECT_EQ(isBin ? shown.substr(shown.size() - 9) : told(error),
                  isBin ? "BIN value" : shown);
      }
      EXPECT_EQ(hex(mark == "↔" ? toBin(value) : bytes), hex(bytes)) << line;
      takeMessages();
      ++rows;
    }
    EXPECT_GT(rows, 30) << note;
  }
}

}  // namespace
