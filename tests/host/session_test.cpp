// Sessions at the program, as they stand in sessions/: what is typed, what it prints, and what the log says then.
//
//   > NAME   a file, whose content follows
//   $ ARGS   the program is run on p.casebook; behind it stand
//              what it printed, and what it said on stderr
//              [CODE], where the exit code is not plain from that
//              ~ the label of the transaction that was written, and ~~ the words for each of its commands
//   = 7,     the row of the table that begins so
//
// HERE stands for the folder of the session, IDENTITY for what tells its file from others, and TIME for any.

#include "desk.h"

#include <nlohmann/json.hpp>

#include <iomanip>
#include <regex>

namespace casebook::cli {
namespace {

std::vector<std::string> wordsOf(std::string const& line) {
  std::istringstream in{line};
  std::vector<std::string> words;
  for (std::string word; in >> std::quoted(word, '\'');) words.push_back(word);
  return words;
}

std::string replaced(std::string text, std::string const& from, std::string const& to) {
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

/// A session that is played again. Its text is what it is now.
class Session {
 public:
  std::string play(std::string const& written) {
    for (std::string const& line : linesOf(written)) {
      if (line.starts_with("$ ")) run(line);
      else if (line.starts_with("> ")) beginFile(line);
      else if (line.starts_with("= ")) tellRow(line.substr(2, line.find(',') - 1));
      else if (!file_.empty()) take(line);
    }
    auto text = replaced(text_, std::filesystem::current_path().string(), "HERE");
    text = std::regex_replace(text, std::regex{"[0-9a-f]{32}"}, "IDENTITY");
    return std::regex_replace(text, std::regex{"20[0-9-]{8}[T ][0-9:.]{8,12}"}, "TIME");
  }

  /// All that the project holds.
  std::string everything() {
    std::string all = on("export", {"--csv"}).out + on("export", {"--json"}).out;
    for (auto const* list : {"files", "rules", "tags", "groups"}) all += on(list, {"--json"}).out;
    return all;
  }

  Result on(std::string const& command, std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {command, "p.casebook"});
    return desk_.run(arguments);
  }

 private:
  void add(std::string const& line) { text_ += line + '\n'; }

  void beginFile(std::string const& line) {
    add(line);
    file_ = line.substr(2);
    if (auto const folder = std::filesystem::path{file_}.parent_path(); !folder.empty())
      std::filesystem::create_directories(folder);
    write(file_, "");
  }

  void take(std::string const& line) {
    add(line);
    write(file_, contentOf(file_) + line + '\n');
  }

  void tellRow(std::string const& begin) {
    for (std::string const& row : linesOf(desk_.csv("p.casebook")))
      if (row.starts_with(begin)) add("= " + row);
  }

  void run(std::string const& line) {
    file_.clear();
    add(line);
    auto arguments = wordsOf(line.substr(2));
    arguments.insert(arguments.begin() + 1, "p.casebook");
    std::string const before = contentOf("p.casebook");
    Result const result = desk_.run(arguments);
    text_ += result.out + result.err;
    bool const fails = result.err.starts_with("casebook: ");
    if (result.code != (fails ? 1 : 0)) add('[' + std::to_string(result.code) + ']');
    auto const log = on("log", {"--json", "--commands", "--last", "1"}).out;
    if (std::exchange(log_, log) != log) tellLog(nlohmann::json::parse(log));
    else EXPECT_EQ(contentOf("p.casebook"), before) << line;
  }

  void tellLog(nlohmann::json const& log) {
    auto const& last = log.at("transactions");
    if (last.empty() || last[0].at("kind") != "transaction") return;
    add("~ " + last[0].at("label").get<std::string>());
    constexpr std::size_t few = 12;
    if (auto const& changes = last[0].at("changes"); changes.size() <= few)
      for (auto const& words : changes) add("~~ " + words.get<std::string>());
  }

  Desk desk_;
  std::string file_;  // that the lines go into
  std::string log_;
  std::string text_;
};

class Sessions : public testing::TestWithParam<std::string> {};

// In the end one step undoes all and another redoes it.
TEST_P(Sessions, GoAsWrittenAndCanBeUndone) {
  std::string const written = contentOf(CASEBOOK_SESSIONS "/" + GetParam());
  ASSERT_FALSE(written.empty());
  Session session;
  EXPECT_EQ(session.play(written), written);
  std::string const end = session.everything();
  auto const log = nlohmann::json::parse(session.on("log", {"--json"}).out).at("transactions");
  auto const steps = std::to_string(std::ranges::count_if(
      log, [](auto const& entry) { return entry.at("kind") == "transaction" && entry.at("undone") == false; }));
  EXPECT_EQ(session.on("undo", {steps}).code, 0);
  EXPECT_EQ(session.on("export", {"--csv"}).out, "Case ID\n");
  EXPECT_EQ(session.on("redo", {steps}).code, 0);
  EXPECT_EQ(session.everything(), end);
}

std::vector<std::string> sessions() {
  std::vector<std::string> names;
  for (auto const& entry : std::filesystem::directory_iterator{CASEBOOK_SESSIONS})
    names.push_back(entry.path().filename().string());
  std::ranges::sort(names);
  return names;
}

INSTANTIATE_TEST_SUITE_P(Of, Sessions, testing::ValuesIn(sessions()),
                         [](auto const& session) { return session.param.substr(0, session.param.find('.')); });

}  // namespace
}  // namespace casebook::cli
