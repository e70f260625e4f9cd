// How long a file takes to open that holds many small edits: what a person waits for at `casebook show`.

#include "stopwatch.h"
#include "workloads.h"

#include <casebook/casebook.h>
#include <casebook/file.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>

#include <unistd.h>

#include "file_system.h"

namespace casebook::bench {

namespace {

constexpr u64 cases = 10'000;
constexpr u64 columns = 5;

/// Does not wait for the disk, which the making of the file would do for each edit.
class Unsynced : public FileSystem {
  int sync(int) override { return 0; }
};

class OpenFile : public Peer {
 public:
  explicit OpenFile(u64 edits) {
    auto const project = createProject();
    projectPtr = project.get();
    Unsynced system;
    ProjectFile::Options options;
    options.fileSystem = &system;
    auto file = ProjectFile::create(path_, *project, options);
    fill(file);
    std::mt19937_64 random{20261121};
    for (u64 k = 0; k < edits; ++k) {
      auto const variable = WeakPtr<Variable>{2 + random() % columns};
      auto const record = WeakPtr<Record>{2 + columns + random() % cases};
      file.edit("set a cell to " + std::to_string(k), [&](Transaction& transaction) {
        transaction->setValue(variable.lock(transaction), record.lock(transaction), Variant{static_cast<double>(k)});
      });
    }
  }
  ~OpenFile() override { std::filesystem::remove(path_); }

  void round(Report& report) override {
    {
      auto const project = createProject();
      Stopwatch const watch;
      auto const file = ProjectFile::open(path_, *project);
      report.milliseconds("open", watch.seconds());
      report.check("frames", file.frames().size());
    }
    auto const show = std::string{CASEBOOK_PROGRAM " show '"} + path_.string() + "' > /dev/null";
    Stopwatch const watch;
    if (std::system(show.c_str()) != 0) throw std::runtime_error{"casebook show failed"};
    report.milliseconds("casebook show", watch.seconds());
    report.figure("size of the file", "MB", static_cast<double>(std::filesystem::file_size(path_)) / 1e6);
  }

 private:
  static void fill(ProjectFile& file) {
    file.edit("fill", [&](Transaction& transaction) {
      for (u64 k = 0; k < columns; ++k)
        transaction->addVariable("v" + std::to_string(k), VariableNature{0}, VariableDataType{2},
                                 Variant{0.5 * static_cast<double>(k)});
      for (u64 k = 0; k < cases; ++k) transaction->addRecord();
    });
  }

  std::filesystem::path const path_ =
      std::filesystem::temp_directory_path() / ("casebook-bench-" + std::to_string(getpid()) + ".casebook");
};

}  // namespace

std::vector<Workload> openFile() {
  return {{"open-file",
           "a file of 10,000 records by 5 columns opened, in which that many edits each wrote one cell",
           {contestant<OpenFile>(library, "")},
           {10'000, 1'000'000}}};
}

}  // namespace casebook::bench
