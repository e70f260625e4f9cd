#include "commands/command.h"
#include "console/listing.h"
#include "project/attachment.h"
#include "project/lookup.h"
#include "project/open_project.h"
#include "project/tags.h"
#include "text/json_text.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <casebook/transaction.h>

#include <fmt/ostream.h>
#include <fmt/ranges.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <optional>
#include <set>
#include <system_error>

namespace casebook::cli {
namespace {

/// "a.png" in quotes, or 3 files.
std::string filesWords(std::vector<std::string> const& paths) {
  return paths.size() == 1 ? inQuotes(paths.front()) : counted(paths.size(), "file");
}

class AttachCommand : public Command {
 public:
  AttachCommand() : Command{"attach", "Attach files to a case"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("CASE-ID", case_, "Which case")->required()->option_text(" ");
    addTexts(app, "PATH", paths_, "A file, as seen from the current folder")->required()->option_text("...");
    app.add_option("--tag", tag_, "The files' own tag, in place of those that rules give")->option_text("TAG");
    app.footer(help);
  }

  ExitCode run(Console& console) override {
    if (tag_) checkTag(*tag_);
    OpenProject open{file_, OpenProject::For::Writing, console};
    Project& project = open.project();
    auto const record = findCase(project, case_);
    bool const isFirst = project.auxFiles().empty();
    std::vector<FilePlace> const added = newPlaces(project, record, console);
    if (added.empty()) return ExitCode::Ok;
    std::vector<std::string> stored;
    for (FilePlace const& place : added) stored.push_back(place.stored());
    open.edit(label(stored), [&](Transaction& transaction) {
      for (std::string const& path : stored) transaction->addAuxFile(record.id(), path, tag_.value_or(""));
    });
    for (std::string const& path : stored)
      fmt::print(console.out, "Attached {} to case {}.\n", attachmentWords(path, tag_), case_);
    for (FilePlace const& place : added) warnOfAbsent(place, console);
    if (isFirst && project.rootPath().empty()) printHint(console, noRootHint);
    return ExitCode::Ok;
  }

 private:
  static constexpr char const* help =
      R"(A path is kept relative to the project's root folder (casebook info FILE --root DIR) when it lies below that,
and whole otherwise. The file is not read, and need not be there yet.)";

  /// Says which files the case has already.
  [[nodiscard]] std::vector<FilePlace> newPlaces(Project& project, WeakPtr<Record> record, Console& console) const {
    std::set<std::string> taken;
    for (auto file : project.auxFiles(record.id()))
      if (ownTag(project, file) == tag_)
        taken.insert({project.auxFileRawPath(file.id()), placeOf(project, file).string()});
    std::set<std::string> added;
    std::vector<FilePlace> places;
    for (std::string const& path : paths_) {
      FilePlace place{project, path};
      if (taken.contains(place.stored()) || taken.contains(place.path().string()))
        fmt::print(console.out, "Case {} has {} already.\n", case_, attachmentWords(place.stored(), tag_));
      else if (added.insert(place.stored()).second) places.push_back(std::move(place));
    }
    return places;
  }

  [[nodiscard]] std::string label(std::vector<std::string> const& stored) const {
    std::string words = fmt::format("attach {} to case {}", filesWords(stored), case_);
    return tag_ ? fmt::format("{} with the tag {}", words, inQuotes(*tag_)) : words;
  }

  static void warnOfAbsent(FilePlace const& place, Console& console) {
    std::error_code error;
    if (std::filesystem::exists(place.path(), error)) return;
    std::string const reason = error ? error.message() : "There is no such file";
    printWarning(console,
                 fmt::format("{}: {}. It is attached all the same.", printable(place.path().string()), reason));
  }

  std::string file_;
  std::string case_;
  std::vector<std::string> paths_;
  std::optional<std::string> tag_;
};

class DetachCommand : public Command {
 public:
  DetachCommand() : Command{"detach", "Take a file from a case; the file itself stays on the disk"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("CASE-ID", case_, "Which case")->required()->option_text(" ");
    app.add_option("PATH", path_, "The file, as seen from the current folder or as casebook files lists it")
        ->required()
        ->option_text(" ");
    auto* const tag = app.add_option("--tag", tag_, "The one with this tag of its own")->option_text("TAG");
    app.add_flag("--no-tag", noTag_, "The one without a tag of its own")->excludes(tag)->option_text(" ");
  }

  ExitCode run(Console& console) override {
    if (tag_) checkTag(*tag_);
    OpenProject open{file_, OpenProject::For::Writing, console};
    Project& project = open.project();
    auto const file = find(project, findCase(project, case_));
    std::string const words = fmt::format(
        "{} from case {}", attachmentWords(project.auxFileRawPath(file.id()), ownTag(project, file)), case_);
    GroupsBefore const groups{project};
    open.edit(fmt::format("detach {}", words), [&](Transaction& transaction) { transaction->eraseAuxFile(file.id()); });
    fmt::print(console.out, "Detached {}; casebook undo FILE brings it back.\n", words);
    groups.warnOfLost(project, console);
    return ExitCode::Ok;
  }

 private:
  using Files = std::vector<WeakPtr<AuxFile>>;

  [[nodiscard]] WeakPtr<AuxFile> find(Project& project, WeakPtr<Record> record) const {
    Files const all = project.auxFiles(record.id());
    Files const here = ofPath(project, all);
    if (here.empty())
      throw Failure{
          fmt::format("Case {} has no file {}.", case_, inQuotes(path_)),
          all.empty() ? "" : fmt::format("casebook files FILE --case {} lists the files of the case.", case_)};
    Files wanted = here;
    if (tag_ || noTag_) {
      std::erase_if(wanted, [&](auto file) { return ownTag(project, file) != tag_; });
      // Another program may have kept one place in two ways: they are told apart as they are listed.
      auto const listed = withPath(project, wanted);
      if (!listed.empty()) wanted = listed;
    }
    if (wanted.size() == 1) return wanted.front();
    std::string const names = words(project, wanted.empty() ? here : wanted);
    if (wanted.empty()) throw Failure{fmt::format("Case {} has no such file of that tag, but {}.", case_, names)};
    throw Failure{fmt::format("Case {} has {} files there: {}.", case_, wanted.size(), names),
                  "--tag TAG or --no-tag says which one."};
  }

  /// The files at the place that the path means, else those that are listed by it.
  [[nodiscard]] Files ofPath(Project& project, Files const& all) const {
    FilePlace const place{project, path_};
    Files files;
    std::ranges::copy_if(all, std::back_inserter(files), [&](auto file) { return place.isOf(file); });
    return files.empty() ? withPath(project, all) : files;
  }

  /// Those that are kept and listed with just this path.
  [[nodiscard]] Files withPath(Project& project, Files files) const {
    std::erase_if(files, [&](auto file) { return project.auxFileRawPath(file.id()) != path_; });
    return files;
  }

  static std::string words(Project& project, Files const& files) {
    std::string list;
    for (auto file : files) {
      auto const tag = ownTag(project, file);
      list += (list.empty() ? "" : ", ") + attachmentWords(project.auxFileRawPath(file.id()), tag);
      if (!tag) list += " without a tag of its own";
    }
    return list;
  }

  std::string file_;
  std::string case_;
  std::string path_;
  std::optional<std::string> tag_;
  bool noTag_ = false;
};

class FilesCommand : public Command {
 public:
  FilesCommand() : Command{"files", "List the files of cases, with their tags"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("--case", case_, "Those of this case alone")->option_text("ID");
    app.add_option("--tag", tag_, "Those that carry this tag alone")->option_text("TAG");
    app.add_flag("--images", images_, "Image files alone");
    app.add_flag("--json", json_, "One JSON document");
  }

  ExitCode run(Console& console) override {
    if (tag_) checkTag(*tag_);
    OpenProject open{file_, OpenProject::For::Reading, console};
    Project& project = open.project();
    if (tag_) checkTagIsThere(project, *tag_);
    auto const records = case_ ? std::vector{findCase(project, *case_)} : project.records();
    Listing listing{"file", json_};
    listing.table().addColumn("Case", TableView::Align::Right);
    listing.table().addColumn("Kind");
    listing.table().addColumn("Tags");
    listing.table().addColumn("Path", TableView::Align::Left, TableView::Fit::Whole);
    for (auto record : records)
      for (auto file : project.auxFiles(record.id()))
        if (isWanted(project, file)) list(project, record, file, listing);
    listing.print(console, file_);
    return ExitCode::Ok;
  }

 private:
  [[nodiscard]] bool isWanted(Project& project, WeakPtr<AuxFile> file) const {
    return (!images_ || project.auxFileHasImageExtension(file.id())) &&
           (!tag_ || project.auxFileHasTag(file.id(), *tag_));
  }

  static void list(Project& project, WeakPtr<Record> record, WeakPtr<AuxFile> file, Listing& listing) {
    u64 const uid = file.id();
    std::string const path = project.auxFileRawPath(uid);
    auto const tags = project.auxFileTags(uid);
    u64 const caseId = caseIdOf(project, record);
    listing.add({fmt::format("{}", caseId), std::string{kindWord(project, file)},
                 fmt::format("{}", fmt::join(tags, ", ")), path},
                {{"case", caseId},
                 {"path", jsonText(path)},
                 {"location", jsonText(project.auxFilePath(uid))},
                 {"kind", kindWord(project, file)},
                 {"tags", jsonTexts(tags)},
                 {"own", ownTag(project, file).has_value()}});
  }

  std::string file_;
  std::optional<std::string> case_;
  std::optional<std::string> tag_;
  bool images_ = false;
  bool json_ = false;
};

}  // namespace

void addAttachmentCommands(Commands& commands) {
  commands.push_back(std::make_unique<AttachCommand>());
  commands.push_back(std::make_unique<DetachCommand>());
  commands.push_back(std::make_unique<FilesCommand>());
}

}  // namespace casebook::cli
