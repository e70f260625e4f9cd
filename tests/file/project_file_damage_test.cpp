#include "file_testing.h"
#include "frame_log.h"

namespace casebook {

namespace {

using Access = ProjectFile::Access;

/// The bytes of a file of three frames, where each ends, and the state up to each of these places.
class DamageTest : public ::testing::Test {
 protected:
  DamageTest() {
    TestProject project;
    auto file = ProjectFile::create(path, *project, with(system));
    auto const note = [&] {
      ends.push_back(std::filesystem::file_size(path));
      states.push_back(project.state());
    };
    note();
    for (auto const& change : {Change{nameIt("x")}, Change{addCase}, Change{nameIt("y")}}) {
      file.edit("edit", change);
      note();
    }
    file.close();
    bytes = contentOf(path);
  }

  /// The number of frames that are whole before this place.
  [[nodiscard]] std::size_t wholeBefore(u64 place) const {
    return static_cast<std::size_t>(std::upper_bound(ends.begin(), ends.end(), place) - ends.begin()) - 1;
  }

  void expectTail(std::size_t frames, Content const& content) {
    setContent(path, content);
    for (auto const access : {Access::Read, Access::Write}) {
      TestProject project;
      system.readOnly = access == Access::Read;
      auto const file = ProjectFile::open(path, *project, with(system, access));
      EXPECT_EQ(project.state(), states[frames]);
      EXPECT_EQ(file.frames().size(), frames);
      ASSERT_EQ(file.incompleteTail().has_value(), content.size() != ends[frames]);
      if (!file.incompleteTail()) continue;
      auto const tail = tailOf(file);
      EXPECT_EQ(tail.offset, ends[frames]);
      EXPECT_EQ(tail.length, content.size() - ends[frames]);
      EXPECT_EQ(tail.keptAside.empty(), access == Access::Read);
      if (access == Access::Read) continue;
      EXPECT_EQ(contentOf(path), Content(content.begin(), content.begin() + static_cast<long>(ends[frames])));
      EXPECT_EQ(contentOf(tail.keptAside), Content(content.begin() + static_cast<long>(ends[frames]), content.end()));
      std::filesystem::remove(tail.keptAside);
    }
  }

  void expectDamage(std::size_t frames, Content const& content) {
    setContent(path, content);
    for (auto const access : {Access::Read, Access::Write}) {
      TestProject project;
      try {
        ProjectFile::open(path, *project, with(system, access));
        ADD_FAILURE() << "opened";
      } catch (DamageError const& error) {
        EXPECT_EQ(error.offset(), ends[frames]);
      }
      EXPECT_EQ(project.state(), states[0]);
    }
    EXPECT_EQ(contentOf(path), content);
    auto options = with(system, Access::Read);
    options.untilDamage = true;
    TestProject project;
    auto const file = ProjectFile::open(path, *project, options);
    EXPECT_EQ(project.state(), states[frames]);
    EXPECT_EQ(file.damage().value_or(DamageError{"none", 0}).offset(), ends[frames]);
  }

  TemporaryFolder folder;
  std::filesystem::path const path = folder / "a.casebook";
  FaultyFileSystem system;
  std::vector<u64> ends;
  std::vector<std::string> states;
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
  constexpr long beforeBlock = format::FrameHead::size + 4;
  Content const naming{bytes.begin() + static_cast<long>(ends[0]) + beforeBlock,
                       bytes.begin() + static_cast<long>(ends[1]) - 4};
  auto tooShort = naming;
  tooShort.push_back(0);
  for (auto const& block : {withUnknownCommand(naming), tooShort, Content(12, 0), Content{}}) {
    setContent(path, bytes);
    auto log = FrameLog::open(system, path, with(system));
    log.append(std::vector<Entry>{{block, "stranger", {}}, {naming, "another", {}}});
    log.close();
    expectDamage(3, contentOf(path));
  }
}

}  // namespace

}  // namespace casebook
