#pragma once

#include "console/console.h"

#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace casebook::cli {

/// What the process answers with. Scripts rely on it: never renumber.
enum class ExitCode {
  Ok = 0,
  Failed = 1,  ///< refused, or could not be done; nothing of it is in the project
  Usage = 2,   ///< the command line cannot be understood
  Damage = 3,  ///< `export --until-damage` met damage and gave out everything before it
  Untold = 4   ///< the change is stored, but could not be told of on stdout
};

/// Why a command cannot do what it was asked to, a line for each reason.
class Failure : public std::exception {
 public:
  explicit Failure(std::string message, std::string hint = {}, ExitCode code = ExitCode::Failed);
  Failure(std::vector<std::string> messages, std::string hint);

  [[nodiscard]] char const* what() const noexcept override { return messages_.front().c_str(); }
  [[nodiscard]] std::vector<std::string> const& messages() const noexcept { return messages_; }
  [[nodiscard]] std::string const& hint() const noexcept { return hint_; }
  [[nodiscard]] ExitCode code() const noexcept { return code_; }

 private:
  std::vector<std::string> messages_;
  std::string hint_;
  ExitCode code_ = ExitCode::Failed;
};

/// Lines on stderr: "casebook: message", "warning: message", "hint: message".
void printError(Console& console, std::string_view message);
void printWarning(Console& console, std::string_view message);
void printHint(Console& console, std::string_view message);
void print(Console& console, Failure const& failure);

}  // namespace casebook::cli
