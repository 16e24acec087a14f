// TOML as a host walks it: calls out of order do no harm, and fail the reading.
#include "host.h"
#include "vexo_parsers/toml.h"

namespace vexo::parsers::toml {

using I = ITomlTreeVisitor;
// clang-format off
const std::string kCalls = "Dd()HhAa<>[]{}", kTokens = ".~sSqQifbolxt";
constexpr void (I::*kCall[])() = {
    &I::enterDocument, &I::leaveDocument, &I::enterKeyValue, &I::leaveKeyValue,
    &I::enterStdTable, &I::leaveStdTable, &I::enterArrayTable, &I::leaveArrayTable, &I::enterKey,
    &I::leaveKey, &I::enterArray, &I::leaveArray, &I::enterInlineTable, &I::leaveInlineTable};
constexpr void (I::*kToken[])(const char*) = {
    &I::visitUnquotedKey, &I::visitQuotedKey, &I::visitBasicString, &I::visitMultilineBasicString,
    &I::visitLiteralString, &I::visitMultilineLiteralString, &I::visitInteger, &I::visitFloat,
    &I::visitBoolean, &I::visitOffsetDateTime, &I::visitLocalDateTime, &I::visitLocalDate,
    &I::visitLocalTime};
// clang-format on

/// In place of the platform's: each byte of the text is a call, every token has a text of its own.
bool visitTomlTree(const std::string& text, I& visitor) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::size_t call = kCalls.find(text[i]), token = kTokens.find(text[i]);
    if (call < std::size(kCall)) (visitor.*kCall[call])();
    if (token < std::size(kToken)) (visitor.*kToken[token])(("k" + std::to_string(i)).c_str());
    if (text[i] == '0') visitor.visitUnquotedKey(nullptr);
  }
  return true;
}
bool visitTomlTree(const FilePath& path, I& visitor) {
  return visitTomlTree(path.string(), visitor);
}

namespace {

using namespace tests;

const std::string kWhole = "D(<.>i)(<~>[[]{(<.>s)}])H<.>h(<.>b)A<~>a(<.>{})d";

bool reads(const std::string& calls) {
  variant::Variant value = "old";
  const bool isRead = value.FromTOML(calls);
  EXPECT_TRUE(isRead || value == variant::V_NULL) << calls;
  const Messages messages = takeMessages();
  EXPECT_TRUE(isRead || messages.back() == "src/variant_toml FromTOML 3: TOML data is not valid");
  return isRead;
}

TEST(TomlWalk, FailsOutOfOrder) {
  EXPECT_TRUE(reads(kWhole) && reads("Dd"));
  for (const char* calls : {"", "H", "i", "]", "D(<0>i)d"}) EXPECT_FALSE(reads(calls)) << calls;
  for (std::size_t i = 0; i < kWhole.size(); ++i) {
    std::string missing = kWhole, twice = kWhole, swapped = kWhole;
    std::swap(swapped[i], swapped[std::max<std::size_t>(i, 1) - 1]);
    EXPECT_FALSE(reads(missing.erase(i, 1))) << missing;
    EXPECT_TRUE(swapped == kWhole || !reads(swapped)) << swapped;
    const bool isKeyPart = kTokens.find(kWhole[i]) < 2;  // of which there may be several
    EXPECT_EQ(reads(twice.insert(i, 1, kWhole[i])), isKeyPart) << twice;
  }
}

TEST(TomlWalk, MayBeAnything) {
  std::mt19937 random(1);
  const auto below = [&](std::size_t end) { return random() % end; };
  for (int i = 0; i < 20000; ++i) {
    std::string calls = kWhole.substr(0, below(kWhole.size()));
    for (std::size_t more = below(20); more > 0; --more) calls += (kCalls + kTokens)[below(27)];
    reads(calls + kWhole.substr(below(kWhole.size())));
  }
}

}  // namespace
}  // namespace vexo::parsers::toml
