#include "commands/list_command.h"
#include "project/lookup.h"
#include "project/open_project.h"
#include "project/tags.h"
#include "text/json_text.h"
#include "text/nearest.h"
#include "text/utf8.h"

#include <casebook/tag_group.h>
#include <casebook/transaction.h>

#include <fmt/ostream.h>
#include <fmt/ranges.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <optional>
#include <vector>

namespace casebook::cli {
namespace {

/// Brings a group's list to the one that is wanted, which has no tag twice, with as few changes as follow from walking
/// it once.
void setTags(Project& project, u64 group, Tags const& wanted) {
  for (std::string const& tag : Tags{project.tags(group)})
    if (!contains(wanted, tag) || std::ranges::count(project.tags(group), tag) > 1) project.removeTag(group, tag);
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    auto const& tags = project.tags(group);
    if (i < tags.size() && tags[i] == wanted[i]) continue;
    if (contains(tags, wanted[i])) project.removeTag(group, wanted[i]);
    project.insertTag(group, wanted[i], i);
  }
}

class GroupCommand : public Command {
 public:
  GroupCommand() : Command{"group", "Make a group of tags, set what it holds, rename or delete it"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("NAME", name_, "The group's name")->required()->option_text(" ");
    auto* const tags = addTexts(app, "TAG", tags_, "What it holds from now on, in this order")->option_text("...");
    auto* const rename = app.add_option("--rename", newName_, "Gives it another name")->option_text("NEW");
    auto* const remove = app.add_flag("--delete", delete_, "Deletes it; the tags and files stay");
    rename->excludes(tags);
    remove->excludes(tags)->excludes(rename);
    app.footer("A group holds tags of images alone: one that stops to be such leaves its groups.");
  }

  ExitCode run(Console& console) override {
    if (tags_.empty() && !newName_ && !delete_)
      throw Failure{"TAG is required, or --rename NEW, or --delete.", "casebook groups FILE lists what groups hold.",
                    ExitCode::Usage};
    OpenProject open{file_, OpenProject::For::Writing, console};
    if (delete_) {
      remove(open, console);
    } else if (newName_) {
      rename(open, console);
    } else {
      set(open, console);
    }
    return ExitCode::Ok;
  }

 private:
  void set(OpenProject& open, Console& console) const {
    Project& project = open.project();
    checkName(name_);
    Tags const wanted = kept(project, console);
    auto const group = project.tagGroup(name_);
    std::string const words = fmt::format("group {}: {}", inQuotes(name_), tagWords(wanted));
    if (group && project.tags(group.id()) == wanted) {
      fmt::print(console.out, "G{} already.\n", words.substr(1));
      return;
    }
    open.edit(words, [&](Transaction& transaction) {
      u64 const uid = group ? group.id() : transaction->addTagGroup(name_).id();
      setTags(transaction.project(), uid, wanted);
    });
    fmt::print(console.out, "G{}.\n", words.substr(1));
  }

  /// Those that the group will not lose at once. Warns of the others.
  [[nodiscard]] Tags kept(Project& project, Console& console) const {
    for (std::string const& tag : tags_) {
      checkTag(tag);
      if (std::ranges::count(tags_, tag) > 1)
        throw Failure{fmt::format("{} is given twice.", inQuotes(tag)), {}, ExitCode::Usage};
    }
    Tags const images = project.imageTags();
    Tags tags;
    Tags reasons;
    for (std::string const& tag : tags_) {
      if (contains(images, tag)) {
        tags.push_back(tag);
      } else {
        reasons.push_back(fmt::format("{} is not a tag of image files. {}", inQuotes(tag), nearest(tag, images)));
        if (reasons.back().ends_with(' ')) reasons.back().pop_back();
      }
    }
    if (tags.empty()) throw Failure{reasons, "casebook tags FILE lists the tags, and which are of images."};
    for (std::string const& reason : reasons)
      printWarning(console, fmt::format("{} The group goes without it.", reason));
    return tags;
  }

  void rename(OpenProject& open, Console& console) const {
    Project& project = open.project();
    u64 const uid = find(project).id();
    checkName(*newName_);
    if (project.tagGroup(*newName_)) throw Failure{fmt::format("There is a group {} already.", inQuotes(*newName_))};
    std::string const words = fmt::format("group {} to {}", inQuotes(name_), inQuotes(*newName_));
    open.edit(fmt::format("rename {}", words),
              [&](Transaction& transaction) { transaction->setTagGroupName(uid, *newName_); });
    fmt::print(console.out, "Renamed {}.\n", words);
  }

  void remove(OpenProject& open, Console& console) const {
    u64 const uid = find(open.project()).id();
    open.edit(fmt::format("delete group {}", inQuotes(name_)),
              [&](Transaction& transaction) { transaction->eraseTagGroup(uid); });
    fmt::print(console.out, "Deleted group {}; casebook undo FILE brings it back.\n", inQuotes(name_));
  }

  static void checkName(std::string const& name) {
    if (name.empty()) throw Failure{"A group needs a name."};
    checkUtf8(name);
  }

  [[nodiscard]] WeakPtr<TagGroup> find(Project& project) const {
    auto const group = project.tagGroup(name_);
    if (group) return group;
    Tags names;
    for (auto other : project.tagGroups()) names.push_back(project.tagGroupName(other.id()));
    throw Failure{fmt::format("There is no group {}. {}", inQuotes(name_),
                              names.empty() ? "There are no groups yet." : suggestion(name_, names))};
  }

  std::string file_;
  std::string name_;
  Tags tags_;
  std::optional<std::string> newName_;
  bool delete_ = false;
};

class GroupsCommand : public ListCommand {
 public:
  GroupsCommand() : ListCommand{"groups", "List the groups, with their tags in order", "group"} {}

 private:
  void fill(Project& project, Listing& listing) const override {
    listing.table().addColumn("Group");
    listing.table().addColumn("Tags", TableView::Align::Left, TableView::Fit::Whole);
    for (auto group : project.tagGroups()) {
      std::string const name = project.tagGroupName(group.id());
      Tags const tags = project.tags(group.id());
      listing.add({name, fmt::format("{}", fmt::join(tags, ", "))},
                  {{"group", jsonText(name)}, {"tags", jsonTexts(tags)}});
    }
  }
};

}  // namespace

void addGroupCommands(Commands& commands) {
  commands.push_back(std::make_unique<GroupCommand>());
  commands.push_back(std::make_unique<GroupsCommand>());
}

}  // namespace casebook::cli
