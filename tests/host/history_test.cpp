#include "desk.h"

#include "project/open_project.h"

#include <casebook/casebook.h>

#include <nlohmann/json.hpp>

namespace casebook::cli {
namespace {

using Arguments = std::vector<std::string>;

Frame frameOf(std::string const& file, FrameKind kind) {
  CurrentProject const project;
  ProjectFile::Options options;
  options.access = ProjectFile::Access::Read;
  auto const frames = ProjectFile::open(file, *project, options).frames();
  return *std::ranges::find(frames, kind, &Frame::kind);
}

/// A copy of the file in which a byte in the middle of this frame's block is another.
void copyWithDamage(std::string const& from, std::string const& to, Frame const& frame) {
  std::string bytes = contentOf(from);
  bytes[frame.offset + 64 + frame.label.size() + frame.blockLength / 2] ^= 1;
  write(to, bytes);
}

TEST(History, OfALongFileIsVerifiedAndItsDamageTold) {
  Desk desk;
  std::string table = "Name,Mass\n";
  for (int i = 0; i < 12000; ++i) table += "somebody," + std::to_string(i) + "\n";
  desk.import("p.casebook", table);
  desk.done({"set", "p.casebook", "5", "Mass", "7"});
  desk.done({"set", "p.casebook", "6", "Mass", "7"});
  desk.done({"undo", "p.casebook"});
  EXPECT_EQ(desk.done({"verify", "p.casebook"}), "p.casebook is whole: 3 transactions, 1 undone, 1 checkpoint.\n");
  EXPECT_EQ(linesOf(desk.done({"log", "p.casebook"})).size(), 4U);
  std::string const csv = desk.csv("p.casebook");

  // A bad checkpoint: nothing is lost, and it is told everywhere.
  Frame const checkpoint = frameOf("p.casebook", FrameKind::Checkpoint);
  copyWithDamage("p.casebook", "c.casebook", checkpoint);
  std::string const bad = "warning: c.casebook is damaged at byte " + std::to_string(checkpoint.offset) + ": ";
  for (Arguments const& arguments : {Arguments{"export", "c.casebook", "--csv"}, {"verify", "c.casebook"}}) {
    bool const verifies = arguments.front() == "verify";
    Result const result = desk.run(arguments);
    EXPECT_EQ(result.code, verifies ? 1 : 0);
    EXPECT_TRUE(result.err.starts_with(bad) && linesOf(result.err).size() == 1) << result.err;
    EXPECT_NE(result.err.find("Nothing is lost: "), std::string::npos);
    EXPECT_EQ(result.out, verifies ? "c.casebook holds every transaction whole, but not every checkpoint: "
                                     "3 transactions, 1 undone, 1 checkpoint, 1 bad.\n"
                                   : csv);
  }

  // A bad transaction before the checkpoint: only what needs it is refused.
  Frame const imported = frameOf("p.casebook", FrameKind::Transaction);
  copyWithDamage("p.casebook", "t.casebook", imported);
  std::string const before = contentOf("t.casebook");
  for (Arguments const& arguments :
       {Arguments{"verify", "t.casebook"}, {"undo", "t.casebook", "2"}, {"log", "t.casebook", "--commands"}}) {
    Result const result = desk.run(arguments);
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.err.starts_with("casebook: t.casebook is damaged at byte " + std::to_string(imported.offset)));
    EXPECT_EQ(linesOf(result.err).back(),
              "hint: The table can be read all the same: casebook export FILE --csv gives it out.");
  }
  EXPECT_EQ(contentOf("t.casebook"), before);
  EXPECT_EQ(linesOf(desk.done({"log", "t.casebook"})).size(), 4U);
  EXPECT_EQ(desk.csv("t.casebook"), csv);
  EXPECT_EQ(desk.done({"undo", "t.casebook"}), "Undid 3: set case 5 \"Mass\" to 7\n");

  write("cut.casebook", contentOf("p.casebook").substr(0, before.size() - 3));
  Result const cut = desk.run({"verify", "cut.casebook"});
  EXPECT_EQ(cut.code, 0);
  EXPECT_TRUE(cut.err.starts_with("warning: cut.casebook: The last write was cut off: ")) << cut.err;
  EXPECT_EQ(cut.out,
            "cut.casebook is whole up to the write that was cut off: 3 transactions, 0 undone, 1 checkpoint.\n");
}

}  // namespace
}  // namespace casebook::cli
