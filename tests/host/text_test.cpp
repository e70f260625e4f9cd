#include "text/json_text.h"
#include "text/utf8.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <nlohmann/json.hpp>

namespace casebook::cli {
namespace {

TEST(Text, IsMeasuredAsATerminalDrawsIt) {
  struct Case {
    std::string text;
    std::size_t width;
    std::string printable;
    std::string shortened;  // to 5 columns
  };
  std::vector<Case> const cases{{"", 0, "", ""},
                                {"abcdef", 6, "abcdef", "abcd…"},
                                {"e\u0301a", 2, "e\u0301a", "e\u0301a"},
                                {"日本語", 6, "日本語", "日本…"},
                                {"\x1b[31m", 5, "\\x1b[31m", "\\x1b…"},
                                {"\xff", 1, "\\xff", "\\xff"},
                                {"\u202e", 1, "\\u202e", "\\u20…"}};
  for (Case const& c : cases) {
    EXPECT_EQ(printable(c.text), c.printable);
    EXPECT_EQ(shortened(printable(c.text), 5), c.shortened);
    EXPECT_EQ(displayWidth(c.text), c.width) << c.text;
  }
  EXPECT_EQ(cutToBytes("a\xc3\xa9\xc3\xa9", 5), "a\xc3\xa9\xc3\xa9");
  EXPECT_EQ(cutToBytes("a\xc3\xa9\xc3\xa9z", 5), "a…");
}

RC_GTEST_PROP(Text, OfAnyBytesIsPrintable, (std::string const& bytes, std::uint8_t width)) {
  std::string const shown = printable(bytes);
  RC_ASSERT(isUtf8(shown));
  RC_ASSERT(shown.find_first_of("\n\r\t\x1b\x7f") == std::string::npos);
  RC_ASSERT(displayWidth(shortened(shown, width)) <= std::max<std::size_t>(width, 1));
}

RC_GTEST_PROP(Text, OfAnyBytesGoesThroughJson, (std::string const& bytes)) {
  auto const json = nlohmann::json::parse(jsonText(bytes).dump());
  std::string back;
  if (json.is_string()) {
    back = json.get<std::string>();
  } else {
    std::string const hex = json.at("hex").get<std::string>();
    for (std::size_t i = 0; i < hex.size(); i += 2) back += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  RC_ASSERT(back == bytes);
  RC_ASSERT(json.is_string() == isUtf8(bytes));
}

}  // namespace
}  // namespace casebook::cli
