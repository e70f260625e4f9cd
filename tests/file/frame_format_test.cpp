#include "frame_format.h"

#include "new_file.h"

#include <gtest/gtest.h>

namespace casebook::format {

namespace {

// Files outlive programs: the bytes are written down, with checks that another CRC-32 computed.
TEST(FrameFormat, BytesAreThoseOfTheGrammar) {
  FrameHead head;
  head.file = 0x01020304;
  head.previous = 0x05060708;
  head.sequence = 0x1112131415161718;
  head.argument = 0x2122232425262728;
  head.when = -2;
  head.part = 3;
  head.parts = 5;
  std::vector<unsigned char> frame;
  std::array<unsigned char, 3> const block{0xAA, 0xBB, 0xCC};
  appendFrame(frame, head, "hi", block);
  EXPECT_EQ(toHex(frame),
            "63624652"
            "01000000"
            "04030201"
            "08070605"
            "1817161514131211"
            "2827262524232221"
            "feffffffffffffff"
            "0300000000000000"
            "02000000"
            "03000000"
            "05000000"
            "8f3666b4"
            "6869"
            "aabbcc"
            "560e4742");
}

}  // namespace

}  // namespace casebook::format
