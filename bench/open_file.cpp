// How long a file takes to open that holds many small edits: what a person waits for at `casebook show`.

#include <benchmark/benchmark.h>

#include <casebook/casebook.h>
#include <casebook/file.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "file_system.h"
#include "timing.h"
#include "workloads.h"

namespace casebook::bench {

namespace {

constexpr std::uint32_t cases = 10'000;
constexpr std::uint32_t columns = 5;

/// Does not wait for the disk, which the making of the file would do a million times.
class Unsynced : public FileSystem {
  int sync(int) override { return 0; }
};

/// A file of a table, filled in one edit, and of `edits` that each write one cell of it.
class EditedFile {
 public:
  explicit EditedFile(std::uint64_t edits) {
    auto const project = createProject();
    projectPtr = project.get();
    ProjectFile::Options options;
    options.fileSystem = &system_;
    auto file = ProjectFile::create(path_, *project, options);
    fill(file);
    std::mt19937_64 random{20261121};
    for (std::uint64_t k = 0; k < edits; ++k) {
      auto const variable = WeakPtr<Variable>{2 + random() % columns};
      auto const record = WeakPtr<Record>{2 + columns + random() % cases};
      file.edit("set a cell to " + std::to_string(k), [&](Transaction& transaction) {
        transaction->setValue(variable.lock(transaction), record.lock(transaction), Variant{static_cast<double>(k)});
      });
    }
    projectPtr = nullptr;
  }
  EditedFile(EditedFile const&) = delete;
  ~EditedFile() { std::filesystem::remove(path_); }

  [[nodiscard]] std::filesystem::path const& path() const noexcept { return path_; }

 private:
  static void fill(ProjectFile& file) {
    file.edit("fill", [&](Transaction& transaction) {
      for (std::uint32_t k = 0; k < columns; ++k)
        transaction->addVariable("v" + std::to_string(k), VariableNature{0}, VariableDataType{2}, Variant{0.5 * k});
      for (std::uint32_t k = 0; k < cases; ++k) transaction->addRecord();
    });
  }

  Unsynced system_;
  std::filesystem::path path_ = std::filesystem::temp_directory_path() / "casebook-bench.casebook";
};

void open(benchmark::State& state, std::uint64_t edits) {
  std::filesystem::remove(std::filesystem::temp_directory_path() / "casebook-bench.casebook");
  EditedFile const file{edits};
  auto const show = std::string{CASEBOOK_PROGRAM " show '"} + file.path().string() + "' > /dev/null";
  Fastest opened;
  Fastest shown;
  std::size_t frames = 0;
  for (auto _ : state) {
    {
      auto const project = createProject();
      Stopwatch const watch;
      auto const opening = ProjectFile::open(file.path(), *project);
      opened.add(watch.wall());
      frames = opening.frames().size();
    }
    Stopwatch const watch;
    if (std::system(show.c_str()) != 0) state.SkipWithError("casebook show failed");
    shown.add(watch.wall());
  }
  state.counters["open ms"] = opened.nanosecondsEach(1e6);
  state.counters["show ms"] = shown.nanosecondsEach(1e6);
  state.counters["frames"] = static_cast<double>(frames);
  state.counters["file MB"] = static_cast<double>(std::filesystem::file_size(file.path())) / 1e6;
}

}  // namespace

void registerOpenFile() {
  // Making the file takes a rebuild of all statistics an edit.
  for (std::uint64_t const edits : {1'000, 100'000})
    benchmark::RegisterBenchmark(("openFile/" + std::to_string(edits)).c_str(),
                                 [edits](benchmark::State& state) { open(state, edits); })
        ->Iterations(3)
        ->Unit(benchmark::kMillisecond);
}

}  // namespace casebook::bench
