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

  /// All that there is, in the forms that lose nothing.
  std::string everything() {
    std::string all = csv("p.casebook");
    for (auto const* list : {"files", "rules", "tags", "groups"}) all += tell({list, "--json"}).out;
    return all;
  }
};

struct Step {
  Arguments arguments;  // without the file
  std::string out;
  std::string label;  // empty when nothing is to be written
  std::vector<std::string> words;
  std::string err = {};
};

std::vector<Step> const steps{
    {{"attach", "7", Study::place("a.png")},
     "Attached \"images/a.png\" to case 7.\n",
     "attach \"images/a.png\" to case 7",
     {"file \"images/a.png\" attached to case 7"}},
    {{"attach", "7", "study/./images/a.png"}, "Case 7 has \"images/a.png\" already.\n", "", {}},
    {{"attach", "7", Study::place("a.png"), "study/images/../images/a.png", Study::place("b.PNG"), "--tag", "front"},
     "Attached \"images/a.png\" with the tag \"front\" to case 7.\n"
     "Attached \"images/b.PNG\" with the tag \"front\" to case 7.\n",
     "attach 2 files to case 7 with the tag \"front\"",
     {"file \"images/a.png\" attached to case 7, with the tag \"front\"",
      "file \"images/b.PNG\" attached to case 7, with the tag \"front\""}},
    {{"attach", "9", Study::place("a.png"), Study::place("scan.nii.gz"), Study::place("notes.txt"), "/gone.png"},
     "Attached \"images/a.png\" to case 9.\nAttached \"images/scan.nii.gz\" to case 9.\n"
     "Attached \"images/notes.txt\" to case 9.\nAttached \"/gone.png\" to case 9.\n",
     "attach 4 files to case 9",
     {"file \"images/a.png\" attached to case 9", "file \"images/scan.nii.gz\" attached to case 9",
      "file \"images/notes.txt\" attached to case 9", "file \"/gone.png\" attached to case 9"},
     "warning: /gone.png: There is no such file. It is attached all the same.\n"},
    {{"rule", "*.png", "photo"},
     "Added the rule \"*.png\" for the tag \"photo\"; it gives the tag to 3 files now.\n",
     "add rule \"*.png\" for the tag \"photo\"",
     {"rule \"*.png\" for the tag \"photo\" added"}},
    {{"rule", "*.png", "photo"}, "There is a rule \"*.png\" for the tag \"photo\" already.\n", "", {}},
    {{"rule", "images/?.png", "kept"},
     "Added the rule \"images/?.png\" for the tag \"kept\"; it gives the tag to 2 files now.\n",
     "add rule \"images/?.png\" for the tag \"kept\"",
     {"rule \"images/?.png\" for the tag \"kept\" added"}},
    {{"rule", "*.gif", "moving"},
     "Added the rule \"*.gif\" for the tag \"moving\"; it gives the tag to 0 files now.\n",
     "add rule \"*.gif\" for the tag \"moving\"",
     {"rule \"*.gif\" for the tag \"moving\" added"}},
    {{"group", "Views", "photo", "front", "kept"},
     "Group \"Views\": \"photo\", \"front\", \"kept\".\n",
     "group \"Views\": \"photo\", \"front\", \"kept\"",
     {"tag group \"Views\" added", "tag group \"Views\": \"photo\" added", "tag group \"Views\": \"front\" added",
      "tag group \"Views\": \"kept\" added"}},
    {{"group", "Views", "front", "photo", "moving", "kepd", "kept"},
     "Group \"Views\": \"front\", \"photo\", \"kept\".\n",
     "group \"Views\": \"front\", \"photo\", \"kept\"",
     {"tag group \"Views\": \"front\" removed", "tag group \"Views\": \"front\" added"},
     "warning: \"moving\" is not a tag of image files. The group goes without it.\n"
     "warning: \"kepd\" is not a tag of image files. Did you mean \"kept\"? The group goes without it.\n"},
    {{"group", "Views", "front", "photo", "kept"},
     "Group \"Views\": \"front\", \"photo\", \"kept\" already.\n",
     "",
     {}},
    {{"group", "Views", "--rename", "Sides"},
     "Renamed group \"Views\" to \"Sides\".\n",
     "rename group \"Views\" to \"Sides\"",
     {"tag group \"Views\" renamed to \"Sides\""}},
    {{"detach", "7", Study::place("a.png"), "--tag", "front"},
     "Detached \"images/a.png\" with the tag \"front\" from case 7; casebook undo FILE brings it back.\n",
     "detach \"images/a.png\" with the tag \"front\" from case 7",
     {"file \"images/a.png\" removed from case 7, with the tag \"front\""}},
    {{"detach", "7", "images/b.PNG"},
     "Detached \"images/b.PNG\" with the tag \"front\" from case 7; casebook undo FILE brings it back.\n",
     "detach \"images/b.PNG\" with the tag \"front\" from case 7",
     {"file \"images/b.PNG\" removed from case 7, with the tag \"front\"", "tag group \"Sides\": \"front\" removed"},
     "warning: Group \"Sides\" has lost \"front\": it is not a tag of image files any more.\n"},
    {{"attach", "9", Study::place("b.PNG"), "--tag", "back"},
     "Attached \"images/b.PNG\" with the tag \"back\" to case 9.\n",
     "attach \"images/b.PNG\" to case 9 with the tag \"back\"",
     {"file \"images/b.PNG\" attached to case 9, with the tag \"back\""}},
    {{"group", "Both", "back", "photo"},
     "Group \"Both\": \"back\", \"photo\".\n",
     "group \"Both\": \"back\", \"photo\"",
     {"tag group \"Both\" added", "tag group \"Both\": \"back\" added", "tag group \"Both\": \"photo\" added"}},
    {{"remove-tag", "photo", "back", "--dry-run"},
     "With the tags \"back\", \"photo\" would go:\n  case 7: file \"images/a.png\", which carries \"kept\" too\n"
     "  case 9: file \"images/a.png\", which carries \"kept\" too\n  case 9: file \"/gone.png\"\n"
     "  case 9: file \"images/b.PNG\"\n  rule \"*.png\" for the tag \"photo\"\n  \"photo\" in the group \"Sides\"\n"
     "  \"back\" in the group \"Both\"\n  \"photo\" in the group \"Both\"\n",
     "",
     {}},
    {{"remove-tag", "photo", "kept"},  // two files carry both
     "With the tags \"kept\", \"photo\" go:\n  case 7: file \"images/a.png\"\n  case 9: file \"images/a.png\"\n"
     "  case 9: file \"/gone.png\"\n  rule \"*.png\" for the tag \"photo\"\n"
     "  rule \"images/?.png\" for the tag \"kept\"\n  \"photo\" in the group \"Sides\"\n"
     "  \"kept\" in the group \"Sides\"\n  \"photo\" in the group \"Both\"\n"
     "Removed 3 files, 2 rules and 3 places in groups; casebook undo FILE brings them back.\n",
     "remove tags \"kept\", \"photo\"",
     {"tag group \"Sides\": \"photo\" removed", "tag group \"Sides\": \"kept\" removed",
      "tag group \"Both\": \"photo\" removed", "file \"images/a.png\" removed from case 7",
      "file \"images/a.png\" removed from case 9", "file \"/gone.png\" removed from case 9",
      "rule \"*.png\" for the tag \"photo\" removed", "rule \"images/?.png\" for the tag \"kept\" removed"}},
    {{"rule", "*.gif", "moving", "--remove"},
     "Removed the rule \"*.gif\" for the tag \"moving\".\n",
     "remove rule \"*.gif\" for the tag \"moving\"",
     {"rule \"*.gif\" for the tag \"moving\" removed"}},
    {{"group", "Sides", "--delete"},
     "Deleted group \"Sides\"; casebook undo FILE brings it back.\n",
     "delete group \"Sides\"",
     {"tag group \"Sides\" removed"}},
    {{"delete", "--case", "9"},
     "Deleted case 9 and its 3 files; casebook undo FILE brings it back.\n",
     "delete case 9",
     {"file \"images/scan.nii.gz\" removed from case 9", "file \"images/notes.txt\" removed from case 9",
      "file \"images/b.PNG\" removed from case 9, with the tag \"back\"", "case 9 removed",
      "tag group \"Both\": \"back\" removed"},
     "warning: Group \"Both\" has lost \"back\": it is not a tag of image files any more.\n"}};

TEST(FilesAndTags, AreEditedLoggedAndUndoneStepByStep) {
  Study study;
  std::vector<std::string> states{study.everything()};
  for (Step const& step : steps) {
    Result const result = study.tell(step.arguments);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.out, step.out);
    EXPECT_EQ(result.err, step.err);
    std::string const state = study.everything();
    if (step.label.empty()) {
      EXPECT_EQ(state, states.back());
      continue;
    }
    EXPECT_NE(state, states.back()) << step.label;
    states.push_back(state);
    auto const log = nlohmann::json::parse(study.tell({"log", "--json", "--commands", "--last", "1"}).out);
    auto const& entry = log.at("transactions").at(0);
    EXPECT_EQ(entry.at("label"), step.label);
    EXPECT_EQ(entry.at("changes").get<std::vector<std::string>>(), step.words);
  }
  for (std::size_t i = states.size() - 1; i-- > 0;) {
    EXPECT_EQ(study.tell({"undo"}).err, "");
    EXPECT_EQ(study.everything(), states[i]) << "after " << i;
  }
  for (std::size_t i = 1; i < states.size(); ++i) {
    EXPECT_EQ(study.tell({"redo"}).err, "");
    EXPECT_EQ(study.everything(), states[i]) << "after " << i;
  }
}

TEST(FilesAndTags, AreListedWholeAndAsAsked) {
  Study study;
  std::string const longName = std::string(60, 'x') + "\n\xff.bmp";
  study.tell({"attach", "9", Study::place("scan.nii.gz"), Study::place("a.png")});
  study.tell({"attach", "7", Study::place("notes.txt"), Study::place(longName), "--tag", "own"});
  study.tell({"rule", "g", "dull"});
  study.tell({"rule", "*.png", "photo"});
  study.tell({"rule", "*.gif", "moving"});
  study.tell({"group", "Views", "photo", "dull"});
  study.width = 20;
  struct Case {
    Arguments arguments;
    std::string out;
  };
  std::string const shown = std::string(60, 'x') + "\\n\\xff.bmp\n";
  for (Case const& c : std::vector<Case>{
           {{"files"},
            "Case  Kind   Tags         Path\n   7  other  own          images/notes.txt\n   7  image  own          "
            "images/" +
                shown +
                "   9  data                images/scan.nii.gz\n   9  image  dull, photo  images/a.png\n\n4 files.\n"},
           {{"files", "--case", "9", "--tag", "photo"},
            "Case  Kind   Tags         Path\n   9  image  dull, photo  images/a.png\n\n1 file.\n"},
           {{"files", "--case", "7", "--images"},
            "Case  Kind   Tags  Path\n   7  image  own   images/" + shown + "\n1 file.\n"},
           {{"files", "--tag", "moving"}, "0 files.\n"},
           {{"rules"},
            "Files  Tag     Pattern\n    1  dull    g\n    1  photo   *.png\n    0  moving  *.gif\n\n3 rules.\n"},
           // The image file has both tags, and the first rule claims it: the group is left without "photo".
           {{"groups"}, "Group  Tags\nViews  dull\n\n1 group.\n"},
           {{"tags"},
            "Tag     Files  Of images  Rules  Groups\ndull        1  yes            1  Views\nmoving      0            "
            " "
            "    1\nown         2\nphoto       1                 1\n\n4 tags.\n"},
           {{"tags", "--unused"},
            "Tag     Files  Of images  Rules  Groups\nmoving      0                 1\n\n1 tag.\n"}})
    EXPECT_EQ(study.tell(c.arguments).out, c.out);

  auto const json = nlohmann::json::parse(study.tell({"files", "--json", "--images"}).out).at("files");
  std::string const root = (std::filesystem::current_path() / "study/").string();
  EXPECT_EQ(json.at(1), (nlohmann::json{{"case", 9},
                                        {"path", "images/a.png"},
                                        {"location", root + "images/a.png"},
                                        {"kind", "image"},
                                        {"tags", {"dull", "photo"}},
                                        {"own", false}}));
  EXPECT_EQ(json.at(0).at("own"), true);
  EXPECT_TRUE(json.at(0).at("path").contains("hex"));
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

TEST(FilesAndTags, AreRefusedWithReasonAndExitCode) {
  struct Case {
    Arguments arguments;
    std::string err;
    int code = 1;
  };
  Study study;
  study.tell({"info", "--root", ""});
  study.tell({"attach", "7", "/whole.png"});
  study.tell({"info", "--root", "/"});
  study.tell({"attach", "7", "/whole.png", "--tag", "front"});
  study.tell({"attach", "7", "/whole.png", "--tag", "side"});
  study.tell({"rule", "*.gif", "moving"});
  study.tell({"group", "Views", "front", "side"});
  std::string const before = contentOf("p.casebook");
  for (Case const& c : std::vector<Case>{
           {{"attach", "8", "a"}, "There is no case 8. The nearest are 7 and 9.\n"},
           {{"attach", "7", ""}, "A file needs a path.\n"},
           {{"attach", "7", "a", "--tag", ""}, "A tag cannot be empty.\n"},
           {{"attach", "7", "a", "--tag", "\xff"}, "\"\\xff\" is not UTF-8 at its character 1.\n"},
           {{"detach", "7", "/whole.png"},
            "Case 7 has 3 files there: \"/whole.png\" without a tag of its own, \"whole.png\" with the tag \"front\", "
            "\"whole.png\" with the tag \"side\".\nhint: --tag TAG or --no-tag says which one.\n"},
           {{"detach", "7", "/whole.png", "--tag", "back"},
            "Case 7 has no such file of that tag, but \"/whole.png\" without a tag of its own, \"whole.png\" with the "
            "tag \"front\", \"whole.png\" with the tag \"side\".\n"},
           {{"detach", "7", "/whole.png", "--tag", ""}, "A tag cannot be empty.\n"},
           {{"detach", "7", "/other.png"},
            "Case 7 has no file \"/other.png\".\nhint: casebook files FILE --case 7 lists the files of the case.\n"},
           {{"detach", "9", "/whole.png"}, "Case 9 has no file \"/whole.png\".\n"},
           {{"files", "--tag", ""}, "A tag cannot be empty.\n"},
           {{"files", "--tag", "frnt"}, "There is no tag \"frnt\". Did you mean \"front\"?\n"},
           {{"rule", "", "x"}, "A pattern cannot be empty; \"*\" matches every path.\n"},
           {{"rule", "*", ""}, "A tag cannot be empty.\n"},
           {{"rule", std::string(4097, '*'), "x"}, "A pattern is at most 4096 bytes long.\n"},
           {{"rule", "*.gif", "mowing", "--remove"},
            "There is no rule \"*.gif\" for the tag \"mowing\". The rule of that pattern is for \"moving\".\n"},
           {{"rule", "*.gi", "moving", "--remove"},
            "There is no rule \"*.gi\" for the tag \"moving\". Did you mean \"*.gif\"?\n"},
           {{"group", "Views", "moving"},
            "\"moving\" is not a tag of image files.\nhint: casebook tags FILE lists the tags, and which are of "
            "images.\n"},
           {{"group", "Views", "front", ""}, "A tag cannot be empty.\n"},
           {{"group", "", "front"}, "A group needs a name.\n"},
           {{"group", "Views", "front", "front"}, "\"front\" is given twice.\n", 2},
           {{"group", "Views", "--rename", "Views"}, "There is a group \"Views\" already.\n"},
           {{"group", "View", "--delete"}, "There is no group \"View\". Did you mean \"Views\"?\n"},
           {{"group", "Views"},
            "TAG is required, or --rename NEW, or --delete.\nhint: casebook groups FILE lists what groups hold.\n",
            2},
           {{"remove-tag", "front", ""}, "A tag cannot be empty.\n"},
           {{"remove-tag", "front", "mowing"}, "There is no tag \"mowing\". Did you mean \"moving\"?\n"}}) {
    Result const result = study.tell(c.arguments);
    EXPECT_EQ(result.code, c.code) << c.err;
    EXPECT_EQ(result.err, "casebook: " + c.err);
    EXPECT_EQ(result.out, "");
  }
  EXPECT_EQ(contentOf("p.casebook"), before);
}

}  // namespace
}  // namespace casebook::cli
