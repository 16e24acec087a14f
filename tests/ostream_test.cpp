// Values in streams.
#include "vexo_variant/ostream.h"

#include <iomanip>
#include <locale>

#include "host.h"

namespace vexo::variant {
namespace {

using namespace tests;

/// What a stream holds after `write`.
template <class Write>
std::string streamed(Write write) {
  std::ostringstream output;
  write(output);
  return output.str();
}

struct Record : BaseVariantContainer {
  bool ToJSON() const { return false; }  // hides the one that is meant
};

TEST(Ostream, WritesJson) {
  const Variant tree = parsed(R"({"list":[1,-2.5,true,null],"text":"a\"b"})");
  EXPECT_EQ(streamed([&](auto& out) { out << tree << '|' << tree["text"] << '|' << V_MAP; }),
            json(tree) + R"(|"a\"b"|4112)");
  std::string pretty;
  tree.ToJSON(pretty, true);
  EXPECT_EQ(streamed([&](auto& out) { out << std::setw(9) << tree << '|' << tree; }),
            pretty + '|' + json(tree));
  Record record;
  record["a"] = 1;
  EXPECT_EQ(
      streamed([&](auto& out) { out << record << static_cast<BaseVariantContainer&>(record); }),
      R"({"a":1}{"a":1})");
}

TEST(Ostream, NothingOfTheStreamChangesTheText) {
  struct Grouped : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
    std::string do_truename() const override { return "yes"; }
  };
  const Variant tree = parsed("[1234567, 1234.5, true]");
  std::ostringstream output;
  output.imbue(std::locale(std::locale::classic(), new Grouped));
  output << std::hex << std::showbase << std::showpos << std::scientific << std::setprecision(1)
         << std::right << std::setfill('*') << tree << std::setw(60) << tree[0];
  EXPECT_EQ(output.str(), json(tree) + "1234567");
  EXPECT_TRUE(output.width() == 0 && output.fill() == '*' && (output.flags() & std::ios::hex));
}

TEST(Ostream, FailuresAreTheStreams) {
  Variant broken = std::string();
  broken.AllocateBuffer(0, false)->size = 0xFFFFFFFF;  // its base64 text would be too long
  std::ostringstream output;
  output << std::setw(1) << broken;
  EXPECT_TRUE(output.rdstate() == std::ios::failbit && output.width() == 0);
  output << std::setw(1) << Variant(1);  // no longer good
  EXPECT_TRUE(output.fail() && output.width() == 0);
  EXPECT_EQ(output.str(), "");
  broken.AllocateBuffer(0, false);

  struct Full : std::streambuf {
  } full;  // takes nothing
  std::ostream refused(&full);
  refused << Variant(1);
  EXPECT_TRUE(refused.bad());
  refused.clear();
  refused.exceptions(std::ios::badbit);
  EXPECT_THROW(refused << Variant(1), std::ios_base::failure);

  std::ostringstream starved;
  const Variant text(std::string(1000, 'x'));
  {
    FailingAllocation failing(0);
    EXPECT_THROW(starved << text, std::bad_alloc);
  }
  EXPECT_TRUE(starved.good() && starved.str().empty());
}

}  // namespace
}  // namespace vexo::variant
