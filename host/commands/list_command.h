#pragma once

#include "commands/command.h"
#include "console/listing.h"

#include <casebook/project.h>

namespace casebook::cli {

/// A verb that lists what a project holds, as a table or as JSON, and takes nothing else.
class ListCommand : public Command {
 public:
  /// `noun` is what one line is, as Listing wants it.
  ListCommand(std::string_view name, std::string_view summary, std::string_view noun)
      : Command{name, summary}, noun_{noun} {}

  void declare(CLI::App& app) final;
  ExitCode run(Console& console) final;

 private:
  virtual void fill(Project& project, Listing& listing) const = 0;

  std::string noun_;
  std::string file_;
  bool json_ = false;
};

}  // namespace casebook::cli
