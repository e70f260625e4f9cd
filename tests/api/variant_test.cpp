#include "support/current_project.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <tuple>

namespace casebook {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();
constexpr u64 largest = std::numeric_limits<u64>::max();

Variant integer(u64 number) { return Variant::ofWord(number, Variant::UnsignedInteger); }
Variant ofBits(u64 bits) { return Variant::ofWord(bits, Variant::FloatingPoint); }

TEST(Variant, ConvertsFromEveryTypeToEveryOther) {
  std::tuple<Variant, u64, double, std::string> const rows[] = {
      {{}, 0, noNumber, ""},
      {integer(largest), largest, 0x1p64, "18446744073709551615"},
      {-0.0, 0, 0.0, "0"},
      {1e-5, 0, 1e-5, "0.00001"},
      {5e-324, 0, 5e-324, "5e-324"},
      {123456789012345.0, 123456789012345, 123456789012345.0, "123456789012345"},
      {1e15, 1000000000000000, 1e15, "1e+15"},
      {0x1p64, largest, 0x1p64, "1.8446744073709552e+19"},
      {infinity, largest, infinity, "inf"},
      {Variant::nan(), 0, noNumber, "nan"},
      {std::string{"1\0b", 3}, 0, noNumber, std::string{"1\0b", 3}},
  };
  for (auto const& [value, asLong, asDouble, text] : rows) {
    EXPECT_EQ(value.longValue(), asLong) << text;
    double const number = value.doubleValue();
    EXPECT_TRUE(number == asDouble || (std::isnan(number) && std::isnan(asDouble))) << text;
    EXPECT_EQ(value.stringValue(), value.type() == Variant::String ? text : "");
    EXPECT_EQ(value.toString(), text);
  }
}

RC_GTEST_PROP(Variant, TextOfANumberReadsBack, (u64 bits)) {
  auto const text = ofBits(bits).toString();
  RC_ASSERT(ofBits(bits) == Variant{std::strtod(text.c_str(), nullptr)});
}

TEST(Variant, IsItsTypeAndAWord) {
  static_assert(sizeof(Variant) == 16);
  Variant const values[] = {{}, integer(1), 1.0, "1"};
  for (std::uint32_t type = 0; type < 4; ++type) EXPECT_EQ(std::memcmp(&values[type], &type, sizeof type), 0);
  EXPECT_EQ(Variant::ofWord(7, Variant::Null).word(), 0u);
  EXPECT_EQ(Variant{-2.0}.word(), 0xC000000000000000);
  auto const refusal = "A text cannot be made from a number. (true)";
  EXPECT_EQ(test::refusalOf([] { return Variant{1u, Variant::String}; }), refusal);
  EXPECT_EQ(test::refusalOf([] { return Variant::ofWord(1, Variant::String); }), refusal);
}

TEST(Variant, OrderIsTotalByTypeThenValue) {
  std::vector<std::vector<Variant>> const ascending = {
      {{}, Variant{9u, Variant::Null}},
      {integer(0)},
      {integer(largest)},
      {-infinity},
      {-1.0},
      {-0.0, 0.0},
      {5e-324},
      {Variant::nan(), ofBits(0xFFF8000000000000), ofBits(0x7FF0000000000001)},
      {"", std::string{}},
      {std::string{"\0", 1}},
      {"10"},
      {"9"},
      {"AB", std::string{"AB"}},
      {"a"},
      {"\xC3\xA4"}};
  for (std::size_t i = 0; i < ascending.size(); ++i)
    for (std::size_t j = 0; j < ascending.size(); ++j)
      for (auto const& a : ascending[i])
        for (auto const& b : ascending[j]) {
          EXPECT_EQ(a < b, i < j) << exactly(a) << " and " << exactly(b);
          EXPECT_EQ(a == b, i == j) << exactly(a) << " and " << exactly(b);
          EXPECT_TRUE(i != j || a.toString() == b.toString());
        }
}

}  // namespace
}  // namespace casebook
