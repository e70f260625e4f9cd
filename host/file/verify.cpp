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
    found_.frames = log_.frames().size();
    found_.tail = log_.tail();
    auto const length = log_.window().length();
    for (auto const& frame : log_.frames()) {
      frame.kind == FrameKind::Checkpoint ? compare(frame) : row_.add(frame);
      if (progress) progress(frame.offset, length);
    }
    restore();
    project_.resetProject();
    return std::move(found_);
  }

 private:
  void restore() {
    project_.resetProject();
    row_.restore(project_);
  }

  void compare(Frame const& frame) {
    ++found_.checkpoints;
    BlockRow next{log_};
    try {
      next.add(frame);
    } catch (DamageError const& damage) {
      found_.badCheckpoints.push_back(damage);
      return;
    }
    restore();
    auto const state = project_.checkpoint();
    if (next.back() == state.block && frame.argument >= state.nextUid) {
      row_ = std::move(next);
    } else {
      found_.badCheckpoints.push_back(
          damagedFrame(log_.path(), frame, "a checkpoint of another state than the frames before it give"));
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
  static_cast<void>(historyOf(log));
  try {
    return Verifier{project, log}.run(options.progress);
  } catch (...) {
    attempt([&] { project.resetProject(); });
    throw;
  }
}

}  // namespace casebook
