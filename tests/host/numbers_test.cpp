#include "text/numbers.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>

namespace casebook::cli {
namespace {

TEST(Numbers, AreReadWhenTheyKeepEveryDigitAndElseRefusedWithTheReason) {
  struct Case {
    std::string_view text;
    std::optional<double> value;
    std::string_view fault = "";
  };
  std::vector<Case> const cases{{"-0", 0},
                                {".5", .5},
                                {"-5.", -5},
                                {"1E+05", 1e5},
                                {"-2.5e-3", -2.5e-3},
                                {"-9007199254740992", -9007199254740992},
                                {"0.30000000000000004", 0.30000000000000004},
                                {"0.10000000000000001", 0.1},
                                {"1.7976931348623157e308", std::numeric_limits<double>::max()},
                                {"5e-324", std::numeric_limits<double>::denorm_min()},
                                {"", {}, "is not a number"},
                                {".", {}, "is not a number"},
                                {"+5", {}, "is not a number"},
                                {" 5", {}, "is not a number"},
                                {"5 ", {}, "is not a number"},
                                {"1e+", {}, "is not a number"},
                                {"0x1F", {}, "is not a number"},
                                {"nan", {}, "is not a number"},
                                {"-00.5", {}, "has leading zeros"},
                                {"9007199254740993", {}, "is a whole number beyond 2^53"},
                                {"0.123456789012345678", {}, "has more than 17 significant digits"},
                                {"9007199254740993.0", {}, "has more digits than a number keeps"},
                                {"1.23456e-320", {}, "has more digits than a number keeps"},
                                {"1e400", {}, "is beyond the range of numbers"},
                                {"1e-400", {}, "is beyond the range of numbers"}};
  for (Case const& c : cases) {
    NumberReading const reading = readNumber(c.text);
    EXPECT_EQ(reading.value, c.value) << c.text;
    EXPECT_EQ(reading.fault, c.fault) << c.text;
  }
}

// Decimal arithmetic on texts: the digits of the double, written out exactly, rounded to as many as were given.
RC_GTEST_PROP(Numbers, NeverLoseADigit, ()) {
  std::string const digits =
      *rc::gen::suchThat(rc::gen::container<std::string>(rc::gen::inRange('0', static_cast<char>('9' + 1))),
                         [](std::string const& s) { return !s.empty() && s.size() < 20 && s.front() != '0'; });
  auto const point = *rc::gen::inRange<std::size_t>(0, digits.size() + 1);
  std::string text = digits;
  text.insert(point, point < digits.size() ? "." : "");
  NumberReading const reading = readNumber(text);
  RC_TAG(reading.value ? "read" : "refused");
  if (reading.value) {
    char exact[64];
    std::snprintf(exact, sizeof exact, "%.*e", static_cast<int>(digits.size()) - 1, *reading.value);
    std::string kept{exact};
    kept.erase(kept.find('e'));
    std::erase(kept, '.');
    RC_ASSERT(kept == digits);
  } else {
    RC_ASSERT(digits.size() > 15U);
  }
}

TEST(Numbers, WholeOnesFit32Bits) {
  EXPECT_EQ(readWholeNumber("0"), 0U);
  EXPECT_EQ(readWholeNumber("4294967295"), 4294967295U);
  for (char const* text : {"", "4294967296", "-1", "+1", "01", "1.0", " 1", "1 ", "1e3", "99999999999999999999"})
    EXPECT_EQ(readWholeNumber(text), std::nullopt) << text;
}

}  // namespace
}  // namespace casebook::cli
