#include "frame_scan.h"

#include "file_testing.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

namespace casebook {

namespace {

using format::FileHeader;
using format::FrameHead;

Content joined(std::initializer_list<Content> pieces) {
  Content all;
  for (auto const& piece : pieces) all.insert(all.end(), piece.begin(), piece.end());
  return all;
}

/// The pieces of a file: its header, and frames chained as they are made.
class Pieces {
 public:
  explicit Pieces(unsigned char identity) {
    FileHeader made;
    made.identity.fill(identity);
    auto const bytes = made.encode();
    header.assign(bytes.begin(), bytes.end());
    check_ = fileCheck = format::readCheck(std::span{bytes}.last<4>());
  }

  Content frame(std::uint32_t part = 0, std::uint32_t parts = 1, std::uint32_t kind = 1) {
    FrameHead head;
    head.kind = kind;
    head.file = fileCheck;
    head.previous = check_;
    head.sequence = ++sequence_;
    head.part = part;
    head.parts = parts;
    Content bytes;
    check_ = appendFrame(bytes, head, "label", Content(30, static_cast<unsigned char>(sequence_)));
    return bytes;
  }

  Content header;
  std::uint32_t fileCheck = 0;

 private:
  std::uint32_t check_ = 0;
  u64 sequence_ = 0;
};

FrameScan scan(Content const& bytes, std::uint32_t fileCheck) {
  TemporaryFolder const folder;
  auto const path = folder / "a.casebook";
  setContent(path, bytes);
  DiskFile const file{FileSystem::real(), path, DiskFile::Opening::Read, "a.casebook"};
  FileWindow window{file, bytes.size()};
  return scanFrames(window, fileCheck, "a.casebook");
}

Content flipped(Content bytes, std::size_t at) {
  bytes[at] ^= 0x10;
  return bytes;
}

TEST(FrameScan, TellsIncompleteTailsFromDamage) {
  Pieces pieces{1};
  Pieces other{2};
  auto const& header = pieces.header;
  auto const one = pieces.frame();  // write 1
  auto fork = pieces;
  auto straight = pieces;
  auto const two = pieces.frame(0, 2);    // write 2, of two frames
  auto const three = pieces.frame(1, 2);  //
  auto const four = pieces.frame();       // write 3
  static_cast<void>(other.frame());
  auto const foreign = other.frame();
  static_cast<void>(fork.frame(0, 1, 7));
  auto const single = straight.frame();
  auto const forked = fork.frame();  // number 3, behind another frame 2
  Content const zeros(two.size(), 0);
  Content const longZeros(5 * FileWindow::reach, 0);
  Content const shortTwo(two.begin(), two.end() - 10);
  Content const headOfTwo(two.begin(), two.begin() + FrameHead::size);
  Content const headOfFour(four.begin(), four.begin() + FrameHead::size);
  constexpr std::size_t lengthField = 48;

  enum Verdict { Whole, Tail, Damage };
  struct Case {
    std::string_view name;
    Content bytes;
    std::size_t frames;  // that are taken
    Verdict verdict;
    std::size_t framesBefore;  // the bad place, which is where a frame of this number begins
  };
  Case const cases[] = {
      {"only the header", header, 0, Whole, 0},
      {"three writes", joined({header, one, two, three, four}), 4, Whole, 0},
      {"nothing of a frame but a byte", joined({header, {'c'}}), 0, Tail, 0},
      {"zeros behind the end", joined({header, one, longZeros}), 1, Tail, 1},
      {"a write of which the second frame is missing", joined({header, one, two}), 1, Tail, 1},
      {"a write of which the second frame is short", joined({header, one, two, {'c', 'b', 'F', 'R'}}), 1, Tail, 1},
      {"a write of which the first page is missing", joined({header, one, zeros, three}), 1, Tail, 1},
      {"the last write broken in its first frame", joined({header, one, flipped(two, 70), three}), 1, Tail, 1},
      {"the same before another write", joined({header, one, flipped(two, 70), three, four}), 1, Damage, 1},
      {"a page of zeros before another write", joined({header, one, zeros, three, four}), 1, Damage, 1},
      {"zeros longer than any buffer before a write", joined({header, longZeros, four}), 0, Damage, 0},
      {"a length broken in the middle", joined({header, flipped(one, lengthField), two, three}), 0, Damage, 0},
      {"a broken frame before one that was torn", joined({header, flipped(one, 70), headOfFour}), 0, Damage, 0},
      {"a frame cut short in the middle", joined({header, one, shortTwo, three, four}), 1, Damage, 1},
      {"bytes put in", joined({header, one, {1, 2, 3}, two, three, four}), 1, Damage, 1},
      {"the first frame removed", joined({header, two, three}), 0, Damage, 0},
      {"a frame removed", joined({header, one, three, four}), 1, Damage, 1},
      {"a write removed", joined({header, one, four}), 1, Damage, 1},
      {"frames of one write swapped", joined({header, one, three, two}), 1, Damage, 1},
      {"a frame repeated", joined({header, one, one}), 1, Damage, 1},
      {"a frame of another file", joined({header, one, foreign}), 1, Damage, 1},
      {"a frame of another file behind a broken one", joined({header, flipped(one, 70), foreign}), 0, Tail, 0},
      {"a frame that followed another", joined({header, one, single, forked}), 2, Damage, 2},
      {"another file's header", joined({other.header, one}), 0, Damage, 0},
      {"a write cut off behind its head before another", joined({header, one, headOfTwo, four}), 1, Damage, 1},
  };
  for (auto const& test : cases) {
    SCOPED_TRACE(test.name);
    auto const fileCheck =
        std::equal(header.begin(), header.end(), test.bytes.begin()) ? pieces.fileCheck : other.fileCheck;
    auto const found = scan(test.bytes, fileCheck);
    EXPECT_EQ(found.frames.size(), test.frames);
    EXPECT_EQ(found.damage.has_value(), test.verdict == Damage);
    EXPECT_EQ(found.end < test.bytes.size(), test.verdict != Whole);
    auto const ends = header.size() + test.framesBefore * one.size();
    auto const bad = found.damage ? found.damage->offset : found.end;
    EXPECT_EQ(bad, test.verdict == Whole ? test.bytes.size() : ends);
  }
}

TEST(FrameScan, NothingIsSizedByAClaim) {
  Pieces pieces{1};
  auto frame = pieces.frame();
  auto head = FrameHead::decode(frame).value_or(FrameHead{});
  for (u64 const claim : {u64{1} << 40, ~u64{0}, u64{35} - 0xFFFFFFFF}) {  // the last sums up to what is there
    head.blockLength = claim;
    head.labelLength = 0xFFFFFFFF;
    auto const encoded = head.encode();
    std::copy(encoded.begin(), encoded.end(), frame.begin());
    auto const found = scan(joined({pieces.header, frame}), pieces.fileCheck);
    EXPECT_TRUE(found.frames.empty());
    EXPECT_FALSE(found.damage);
  }
}

TEST(FrameScan, LaterKindsAreRefusedByName) {
  for (auto const& [kind, name] :
       {std::pair{2U, "a checkpoint"}, {3U, "an undo"}, {4U, "a redo"}, {9U, "a frame of kind 9"}}) {
    Pieces pieces{1};
    auto const bytes = joined({pieces.header, pieces.frame(), pieces.frame(0, 1, kind)});
    EXPECT_EQ(messageOf([&] { scan(bytes, pieces.fileCheck); }),
              "a.casebook holds " + std::string{name} + " (frame 2 at byte 139), which this program cannot read.");
  }
}

}  // namespace

}  // namespace casebook
