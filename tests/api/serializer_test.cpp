#include "support/current_project.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstring>

namespace casebook {
namespace {

using test::Content;
using test::readBeyondEnd;
using test::refusalOf;

Content contentOf(SimpleSerializer& out) {
  auto const [bytes, size] = out.finalize();
  return {bytes, bytes + size};
}

TEST(SimpleSerializer, GrowsToTwiceWhatIsNeededAndExactlyAsHinted) {
  enum What { Write, Hint, Clear };
  struct Step {
    What what;
    u64 n, size, capacity, reallocations;
  };
  std::vector<std::vector<Step>> const sequences = {
      {{Write, 80, 80, 80, 0}, {Write, 1, 81, 162, 1}},
      {{Hint, 79, 0, 80, 0}, {Hint, 81, 0, 81, 1}, {Hint, 40, 0, 81, 1}},
      {{Write, 90, 90, 180, 1}, {Clear, 0, 0, 180, 1}, {Write, 180, 180, 180, 1}},
  };
  for (auto const& steps : sequences) {
    SimpleSerializer out;
    Content expected;
    for (auto const& [what, n, size, capacity, reallocations] : steps) {
      Content const data(n, static_cast<unsigned char>(expected.size()));
      if (what == Write) out.write(data.data(), n), expected.insert(expected.end(), data.begin(), data.end());
      if (what == Hint) out.sizeHint(n);
      if (what == Clear) out.clear(), expected.clear();
      EXPECT_EQ(std::tuple(out.size(), out.capacity(), out.reallocations()), std::tuple(size, capacity, reallocations));
    }
    EXPECT_EQ(contentOf(out), expected);
  }
}

// Counts that the bytes cannot hold: nothing is sized by them.
TEST(SimpleDeserializer, CountsThatLieAreConsumedAndRefused) {
  for (u64 const claim : {u64{4}, u64{1} << 32, ~u64{0}, ~u64{0} / 8}) {
    unsigned char bytes[11] = {};
    std::memcpy(bytes, &claim, sizeof claim);
    SimpleDeserializer in{bytes, sizeof bytes};
    SimpleDeserializer list = in;
    std::string text = "what was there before";
    EXPECT_EQ(refusalOf([&] { StringSerializer{text}.serialize(in); }), readBeyondEnd);
    EXPECT_EQ(in.remaining(), 3u);
    EXPECT_LE(text.size(), 3u);
    std::vector<std::string> texts(9, "before");
    EXPECT_EQ(refusalOf([&] { VectorStringSerializer{texts}.serialize(list); }), readBeyondEnd);
    EXPECT_EQ(list.remaining(), 3u);
    EXPECT_TRUE(texts.empty());
  }
}

RC_GTEST_PROP(VectorStringSerializer, ReadsWhatItWroteAndRefusesLess, (std::vector<std::string> texts, u64 cut)) {
  SimpleSerializer out;
  VectorStringSerializer{texts}.serialize(out);
  auto const bytes = contentOf(out);
  RC_ASSERT((out.finalize() == std::pair<unsigned char*, u64>{nullptr, 0}));
  std::vector<std::string> back{"before"};
  SimpleDeserializer in{bytes.data(), bytes.size()};
  VectorStringSerializer{back}.serialize(in);
  RC_ASSERT(back == texts);
  RC_ASSERT(in.remaining() == 0u);
  SimpleDeserializer shorter{bytes.data(), cut % bytes.size()};
  RC_ASSERT(refusalOf([&] { VectorStringSerializer{back}.serialize(shorter); }) == readBeyondEnd);
}

}  // namespace
}  // namespace casebook
