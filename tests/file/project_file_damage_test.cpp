#include "file_testing.h"
#include "file_window.h"
#include "frame_log.h"

#include <initializer_list>
#include <string_view>

namespace casebook {

namespace {

using Access = ProjectFile::Access;

Content joined(std::initializer_list<Content> pieces) {
  Content all;
  for (auto const& piece : pieces) all.insert(all.end(), piece.begin(), piece.end());
  return all;
}

Content flipped(Content bytes, std::size_t at) {
  bytes[at] ^= 0x10;
  return bytes;
}

/// The bytes of a file of three writes, the last of two frames; where each ends, and the state up to each of these
/// places.
class DamageTest : public ::testing::Test {
 protected:
  DamageTest() {
    TestProject project;
    auto file = ProjectFile::create(path, *project, with(system));
    auto const note = [&] {
      ends.push_back(std::filesystem::file_size(path));
      states.push_back(project.state());
      frameCounts.push_back(file.frames().size());
    };
    note();
    for (auto const& change : {Change{nameIt("x")}, Change{addCase}}) {
      file.edit("edit", change);
      note();
    }
    EditingSlot const slot{*project, &file};
    file.edit("edit", nameIt("y"));
    note();
    lastFrame = file.frames().back().offset;
    file.close();
    bytes = contentOf(path);
  }

  /// The number of writes that are whole before this place.
  [[nodiscard]] std::size_t wholeBefore(u64 place) const {
    return static_cast<std::size_t>(std::upper_bound(ends.begin(), ends.end(), place) - ends.begin()) - 1;
  }

  void expectTail(std::size_t writes, Content const& content) {
    setContent(path, content);
    for (auto const access : {Access::Read, Access::Write}) {
      TestProject project;
      system.readOnly = access == Access::Read;
      auto const file = ProjectFile::open(path, *project, with(system, access));
      EXPECT_EQ(project.state(), states[writes]);
      EXPECT_EQ(file.frames().size(), frameCounts[writes]);
      ASSERT_EQ(file.incompleteTail().has_value(), content.size() != ends[writes]);
      if (!file.incompleteTail()) continue;
      auto const tail = tailOf(file);
      EXPECT_EQ(tail.offset, ends[writes]);
      EXPECT_EQ(tail.length, content.size() - ends[writes]);
      EXPECT_EQ(tail.keptAside.empty(), access == Access::Read);
      if (access == Access::Read) continue;
      EXPECT_EQ(contentOf(path), Content(content.begin(), content.begin() + static_cast<long>(ends[writes])));
      EXPECT_EQ(contentOf(tail.keptAside), Content(content.begin() + static_cast<long>(ends[writes]), content.end()));
      std::filesystem::remove(tail.keptAside);
    }
  }

  void expectDamage(std::size_t writes, Content const& content) { expectDamage(writes, content, ends[writes]); }

  void expectDamage(std::size_t writes, Content const& content, u64 offset) {
    setContent(path, content);
    for (auto const access : {Access::Read, Access::Write}) {
      TestProject project;
      try {
        ProjectFile::open(path, *project, with(system, access));
        ADD_FAILURE() << "opened";
      } catch (DamageError const& error) {
        EXPECT_EQ(error.offset(), offset);
      }
      EXPECT_EQ(project.state(), states[0]);
    }
    EXPECT_EQ(contentOf(path), content);
    auto options = with(system, Access::Read);
    options.untilDamage = true;
    TestProject project;
    auto const file = ProjectFile::open(path, *project, options);
    EXPECT_EQ(project.state(), states[writes]);
    EXPECT_EQ(file.frames().size(), frameCounts[writes]);
    EXPECT_EQ(file.damage().value_or(DamageError{"none", 0}).offset(), offset);
  }

  [[nodiscard]] Content piece(u64 first, u64 end) const {
    return {bytes.begin() + static_cast<long>(first), bytes.begin() + static_cast<long>(end)};
  }

  /// The one frame that an edit adds to a file of these bytes.
  Content edited(Content const& content, std::string const& name) {
    setContent(path, content);
    TestProject project;
    ProjectFile::open(path, *project, with(system)).edit("edit", nameIt(name));
    auto const all = contentOf(path);
    return {all.begin() + static_cast<long>(content.size()), all.end()};
  }

  TemporaryFolder folder;
  std::filesystem::path const path = folder / "a.casebook";
  FaultyFileSystem system;
  std::vector<u64> ends;
  std::vector<std::string> states;
  std::vector<std::size_t> frameCounts;
  u64 lastFrame = 0;
  Content bytes;
};

TEST_F(DamageTest, AFileCutAnywhereKeepsItsWholeFrames) {
  for (auto n = bytes.size(); n >= ends[0]; --n) {
    SCOPED_TRACE(n);
    expectTail(wholeBefore(n), Content(bytes.begin(), bytes.begin() + static_cast<long>(n)));
  }
}

TEST_F(DamageTest, AByteChangedAnywhereIsNeverTakenForAnotherState) {
  for (std::size_t k = 0; k < bytes.size(); ++k) {
    SCOPED_TRACE(k);
    auto content = bytes;
    content[k] ^= static_cast<unsigned char>(k % 2 == 0 ? 1U << k % 8 : 0xFF);
    if (k >= ends[2]) {
      expectTail(2, content);
    } else if (k >= ends[0]) {
      expectDamage(wholeBefore(k), content);
    } else {
      setContent(path, content);
      TestProject project;
      EXPECT_THROW(ProjectFile::open(path, *project, with(system)), varnel::ExceptionBase);
    }
  }
}

TEST_F(DamageTest, TellsWhatWasCutOffFromWhatWasSpliced) {
  auto const header = piece(0, ends[0]);
  auto const one = piece(ends[0], ends[1]);
  auto const two = piece(ends[1], ends[2]);
  auto const three = piece(ends[2], lastFrame);  // the third write, of two frames
  auto const four = piece(lastFrame, ends[3]);   //
  auto const five = edited(bytes, "z");
  auto const onFork = joined({header, one, edited(joined({header, one}), "fork")});
  auto const forked = edited(onFork, "z");  // number 3, behind another frame 2
  std::filesystem::remove(path);
  TestProject project;
  ProjectFile::create(path, *project, with(system)).close();
  auto const otherHeader = contentOf(path);
  auto const foreign = edited(joined({otherHeader, edited(otherHeader, "a")}), "b");
  Content const zeros(three.size(), 0);
  Content const longZeros(5 * FileWindow::reach, 0);
  Content const headOfTwo(two.begin(), two.begin() + format::FrameHead::size);
  constexpr std::size_t lengthField = 48;

  enum Verdict { Tail, Damage };
  struct Case {
    std::string_view name;
    Content bytes;
    std::size_t writes;  // that are taken
    Verdict verdict;
  };
  Case const cases[] = {
      {"zeros behind the end", joined({header, one, longZeros}), 1, Tail},
      {"a write of which the first page is missing", joined({header, one, two, zeros, four}), 2, Tail},
      {"a frame of another file behind a broken one", joined({header, flipped(one, 70), foreign}), 0, Tail},
      {"the first of two frames broken", joined({header, one, two, flipped(three, 70), four, five}), 2, Damage},
      {"zeros longer than any buffer before a write", joined({header, longZeros, five}), 0, Damage},
      {"a length broken in the middle", joined({header, flipped(one, lengthField), two}), 0, Damage},
      {"a broken frame before one that was torn", joined({header, flipped(one, 70), headOfTwo}), 0, Damage},
      {"bytes put in", joined({header, one, {1, 2, 3}, two, three, four}), 1, Damage},
      {"a frame removed", joined({header, one, two, four, five}), 2, Damage},
      {"writes swapped", joined({header, two, one}), 0, Damage},
      {"a frame of another file", joined({header, one, foreign}), 1, Damage},
      {"a frame that followed another", joined({header, one, two, forked}), 2, Damage},
      {"another file's header", joined({otherHeader, one}), 0, Damage},
  };
  for (auto const& test : cases) {
    SCOPED_TRACE(test.name);
    test.verdict == Tail ? expectTail(test.writes, test.bytes) : expectDamage(test.writes, test.bytes);
  }
}

TEST_F(DamageTest, NothingIsSizedByAClaim) {
  auto content = piece(0, ends[1]);
  auto const frame = format::Bytes{content}.subspan(ends[0]);
  auto head = format::FrameHead::decode(frame).value_or(format::FrameHead{});
  auto const fits = head.labelLength + head.blockLength;
  for (u64 const claim : {u64{1} << 40, ~u64{0}, fits - 0xFFFFFFFF}) {  // the last sums up to what is there
    head.blockLength = claim;
    head.labelLength = 0xFFFFFFFF;
    auto const encoded = head.encode();
    std::copy(encoded.begin(), encoded.end(), content.begin() + static_cast<long>(ends[0]));
    expectTail(0, content);
  }
}

TEST_F(DamageTest, FramesOfAnotherMeaningAreRefused) {
  auto const opening = [&](FrameKind kind, u64 argument) {
    auto head = format::FrameHead::decode(piece(ends[1], ends[2])).value_or(format::FrameHead{});
    head.kind = static_cast<std::uint32_t>(kind);
    head.argument = argument;
    auto content = piece(0, ends[1]);
    appendFrame(content, head, "label", Content{12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    setContent(path, content);
    TestProject project;
    return messageOf([&] { ProjectFile::open(path, *project, with(system)); });
  };
  auto const place = " (frame 2 at byte " + std::to_string(ends[1]) + ")";
  EXPECT_EQ(opening(FrameKind{9}, 0),
            path.string() + " holds a frame of kind 9" + place + ", which this program cannot read.");
  auto const outOfTurn = [&](u64 named) {
    return path.string() + " is damaged at byte " + std::to_string(ends[1]) +
           ": frame 2, it names a transaction whose turn it is not: frame " + std::to_string(named) + ".";
  };
  EXPECT_EQ(opening(FrameKind::Undo, 2), outOfTurn(2));
  EXPECT_EQ(opening(FrameKind::Redo, 1), outOfTurn(1));
  EXPECT_EQ(opening(FrameKind::Undo, 1), "");
}

TEST_F(DamageTest, KeptTailsNeverReplaceAnything) {
  auto const torn = Content(bytes.begin(), bytes.end() - 1);
  for (auto const* name : {"a.casebook.tail", "a.casebook.tail-2", "a.casebook.tail-3"}) {
    setContent(path, torn);
    TestProject project;
    auto const file = ProjectFile::open(path, *project, with(system));
    EXPECT_EQ(tailOf(file).keptAside, folder / name);
  }
  EXPECT_EQ(folder.names().size(), 4U);
}

/// Appends to a block a command that nobody knows, and puts the head right.
Content withUnknownCommand(Content block) {
  block.resize(block.size() + 12);
  block[block.size() - 12] = 12;
  std::fill(block.end() - 4, block.end(), 0x0F);
  auto const check = format::check(format::Bytes{block}.subspan(12));
  block[0] = static_cast<unsigned char>(block.size());
  for (std::size_t k = 0; k < 4; ++k) block[8 + k] = static_cast<unsigned char>(check >> 8 * k);
  return block;
}

// What the checks of the frames cannot show.
TEST_F(DamageTest, ABlockThatCannotBeReplayedIsDamage) {
  constexpr u64 beforeBlock = format::FrameHead::size + 4;
  auto const naming = piece(ends[0] + beforeBlock, ends[1] - 4);
  auto tooShort = naming;
  tooShort.push_back(0);
  for (auto const& block : {withUnknownCommand(naming), tooShort, Content(12, 0), Content{}}) {
    Entry const stranger{block, "stranger", {}};
    Entry const another{naming, "another", {}};
    for (auto const& entries : {std::vector{stranger, another}, std::vector{another, stranger}}) {
      setContent(path, bytes);
      auto log = FrameLog::open(system, path, with(system));
      log.append(entries);
      auto const& last = log.frames().back();
      auto const bad = last.label == "stranger" ? last.offset : ends[3];
      log.close();
      expectDamage(3, contentOf(path), bad);
    }
  }
}

}  // namespace

}  // namespace casebook
