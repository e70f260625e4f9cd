#include "desk.h"

#include "project/open_project.h"

#include <casebook/casebook.h>

#include <nlohmann/json.hpp>

namespace casebook::cli {
namespace {

using Arguments = std::vector<std::string>;

/// A project of the cases 7 and 9 whose root is the folder "study", in which there are a few files.
class Study : public Desk {
 public:
  Study() {
    import("p.casebook", "Case ID,Name\n7,Ada\n9,Eve\n");
    std::filesystem::create_directories("study/images");
    for (auto const* name : {"a.png", "b.PNG", "scan.nii.gz", "notes.txt"}) write(place(name), "");
    tell({"info", "--root", "study/images/.."});
  }

  static std::string place(std::string const& name) { return "study/images/" + name; }

  Result tell(Arguments arguments) {
    arguments.insert(arguments.begin() + 1, "p.casebook");
    return run(arguments);
  }
};

TEST(FilesAndTags, OfOddTextsAreListedWhole) {
  Study study;
  std::string const longName = std::string(60, 'x') + "\n\xff.bmp";
  study.tell({"attach", "7", Study::place(longName)});
  study.width = 20;
  EXPECT_EQ(study.tell({"files", "--images"}).out,
            "Case  Kind   Tags  Path\n   7  image        images/" + std::string(60, 'x') + "\\n\\xff.bmp\n\n1 file.\n");
  auto const json = nlohmann::json::parse(study.tell({"files", "--json"}).out);
  EXPECT_TRUE(json.at("files").at(0).at("path").contains("hex"));
  EXPECT_EQ(study.tell({"rule", std::string(4097, '*'), "x"}).err, "casebook: A pattern is at most 4096 bytes long.\n");
}

TEST(Attach, KeepsPathsRelativeToTheRootWhereTheyLieBelowIt) {
  Study study;
  std::filesystem::path const desk = std::filesystem::current_path();
  std::filesystem::create_directories("study2/deep/er");
  std::filesystem::create_directory_symlink("study", "link");
  std::filesystem::create_directory_symlink("../study2/deep", "study/far");
  write("study2/x.png", "");
  struct Case {
    std::string root, folder, path, stored;
  };
  std::string const at = desk.string();
  for (Case const& c : std::vector<Case>{{"study", ".", "study/images/a.png", "images/a.png"},
                                         {"study/", "study/images", "a.png", "images/a.png"},
                                         {"study", "study/images", "../images/./a.png", "images/a.png"},
                                         {"study", "study2", at + "/study//images/a.png", "images/a.png"},
                                         {"study", ".", "study2/x.png", at + "/study2/x.png"},
                                         {"study", ".", "study", at + "/study"},
                                         {"study", ".", "study/images/", "images"},
                                         {"link", "link", "images/a.png", "images/a.png"},
                                         {"study", ".", "link/images/a.png", "images/a.png"},
                                         {"study", ".", "study/far/er", "far/er"},
                                         {"study", "study", "far/../x.png", at + "/study2/x.png"},
                                         {"", ".", "study/images/a.png", at + "/study/images/a.png"},
                                         {"/", "/", "etc", "etc"}}) {
    std::filesystem::current_path(desk);
    study.tell({"info", "--root", c.root});
    std::filesystem::current_path(c.folder);
    auto const stored = "\"" + c.stored + "\"";
    auto const command = [&](std::string const& verb) { return study.run({verb, at + "/p.casebook", "7", c.path}); };
    Result const attached = command("attach");
    EXPECT_EQ(attached.out, "Attached " + stored + " to case 7.\n") << c.path;
    bool const isHinted = attached.err.starts_with("hint: The project has no root folder");
    EXPECT_EQ(attached.err.empty(), !c.root.empty()) << attached.err;
    EXPECT_EQ(isHinted, c.root.empty());
    EXPECT_EQ(command("attach").out, "Case 7 has " + stored + " already.\n");
    EXPECT_EQ(command("detach").out, "Detached " + stored + " from case 7; casebook undo FILE brings it back.\n");
  }
  std::filesystem::current_path(desk);
}

TEST(Detach, TellsFilesThatAreKeptInTwoWaysApart) {
  Study study;
  study.tell({"info", "--root", "/"});
  {
    CurrentProject const project;
    ProjectFile::open("p.casebook", *project).edit("attach", [](Transaction& t) {
      for (auto const* path : {"/x.png", "x.png"}) t->addAuxFile(t->recordById(7).id(), path, "");
    });
  }
  EXPECT_EQ(study.tell({"detach", "7", "/x.png", "--no-tag"}).out,
            "Detached \"/x.png\" from case 7; casebook undo FILE brings it back.\n");
  EXPECT_EQ(study.tell({"detach", "7", "/x.png"}).out,
            "Detached \"x.png\" from case 7; casebook undo FILE brings it back.\n");
}

}  // namespace
}  // namespace casebook::cli
