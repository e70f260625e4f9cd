#pragma once

#include "commands/run.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace casebook::cli {

struct Result {
  int code = 0;
  std::string out;
  std::string err;
};

inline std::string contentOf(std::filesystem::path const& path) {
  std::ifstream in{path, std::ios::binary};
  return {std::istreambuf_iterator<char>{in}, {}};
}

inline void write(std::filesystem::path const& path, std::string const& content) {
  std::ofstream{path, std::ios::binary} << content;
}

/// A folder of its own, in which commands are run as the program runs them.
class Desk {
 public:
  Desk() : before_{std::filesystem::current_path()} {
    std::string name = std::filesystem::temp_directory_path() / "casebook-XXXXXX";
    folder_ = ::mkdtemp(name.data());
    std::filesystem::current_path(folder_);
  }
  Desk(Desk const&) = delete;
  ~Desk() {
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(folder_);
  }

  Result run(std::vector<std::string> arguments, std::string const& input = {}) {
    std::istringstream in{input};
    std::ostringstream out;
    std::ostringstream err;
    Console console{in, out, err};
    console.width = width;
    ExitCode const code = cli::run(std::move(arguments), console);
    return {static_cast<int>(code), out.str(), err.str()};
  }

  /// Runs what has to succeed without a word on stderr, and returns what it printed.
  std::string done(std::vector<std::string> const& arguments) {
    Result const result = run(arguments);
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }

  /// What an export as CSV prints; on stderr there is nothing but hints.
  std::string csv(std::string const& file) {
    Result const result = run({"export", file, "--csv"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_TRUE(result.err.empty() || result.err.starts_with("hint: ")) << result.err;
    return result.out;
  }

  /// A new project `file` of this table, imported with these options.
  Result import(std::string const& file, std::string const& table, std::vector<std::string> const& options = {}) {
    std::filesystem::remove(file);
    done({"create", file});
    write("table.csv", table);
    std::vector<std::string> arguments{"import", file, "table.csv"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return run(arguments);
  }

  std::optional<std::size_t> width;

 private:
  std::filesystem::path before_;
  std::filesystem::path folder_;
};

inline std::vector<std::string> linesOf(std::string const& text) {
  std::istringstream in{text};
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

}  // namespace casebook::cli
