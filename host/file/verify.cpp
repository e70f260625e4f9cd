#include "attempt.h"
#include "loading.h"

#include <casebook/file.h>
#include <casebook/journal.h>

#include <utility>

namespace casebook {

namespace {

/// Follows a file from checkpoint to checkpoint: the blocks before each must give the state that it holds, and those
/// behind it may then begin with it.
class Verifier {
 public:
  Verifier(Project& project, FrameLog const& log) : project_{project}, log_{log}, row_{log} {}

  Verification run(std::function<void(u64, u64)> const& progress) && {
    found_.tail = log_.tail();
    auto const length = log_.window().length();
    for (auto const& frame : log_.frames()) {
      found_.transactions += frame.kind == FrameKind::Transaction;
      frame.kind == FrameKind::Checkpoint ? compare(frame) : row_.add(frame);
      if (progress) progress(endOf(frame), length);
    }
    static_cast<void>(stateAfter(row_));
    project_.resetProject();
    return std::move(found_);
  }

 private:
  [[nodiscard]] Journal::Checkpoint stateAfter(BlockRow const& row) {
    project_.resetProject();
    row.restore(project_);
    return project_.checkpoint();
  }

  // Not byte by byte with the checkpoint's own block: calculated cells may differ in their last digits from those of
  // the machine that wrote it.
  void compare(Frame const& frame) {
    ++found_.checkpoints;
    auto const state = stateAfter(row_);
    try {
      BlockRow next{log_};
      next.add(frame);
      if (frame.argument < state.nextUid || stateAfter(next).block != state.block) {
        throw damagedFrame(log_.path(), frame, "a checkpoint of another state than the frames before it give");
      }
      row_ = std::move(next);
    } catch (DamageError const& damage) {
      found_.badCheckpoints.push_back(damage);
    }
  }

  Project& project_;
  FrameLog const& log_;
  BlockRow row_;
  Verification found_;
};

}  // namespace

Verification ProjectFile::verify(std::filesystem::path const& path, Project& project, Options const& options) {
  requireFresh(project, path);
  auto reading = options;
  reading.access = Access::Read;
  reading.untilDamage = false;
  auto const log = FrameLog::open(FileSystem::orReal(options.fileSystem), path, reading);
  auto const history = historyOf(log);
  try {
    auto found = Verifier{project, log}.run(options.progress);
    found.undone = found.transactions - history.undoable().size();
    return found;
  } catch (...) {
    attempt([&] { project.resetProject(); });
    throw;
  }
}

}  // namespace casebook
