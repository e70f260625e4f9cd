#pragma once

#include "frame_log.h"
#include "history.h"

#include <casebook/project.h>

#include <functional>
#include <vector>

namespace casebook {

/// Throws ("<path> can only be opened into a project as constructed or reset.", false) for any other.
void requireFresh(Project& project, std::filesystem::path const& path);

/// Where a frame ends, in bytes from the file's start.
[[nodiscard]] u64 endOf(Frame const& frame) noexcept;

/// Frames that lead to a state, and their blocks: all from the file's first on, or from a checkpoint on.
class BlockRow {
 public:
  explicit BlockRow(FrameLog const& log) : log_{&log}, window_{log.window()} {}

  /// Reads a frame's block. Throws DamageError.
  void add(Frame const& frame);

  /// Brings a project as constructed or reset to the state. Throws DamageError for a block that does not fit, which
  /// leaves the project as reset.
  void restore(Project& project) const;

 private:
  FrameLog const* log_;
  FileWindow window_;
  std::vector<Frame const*> frames_;
  std::vector<std::vector<unsigned char>> blocks_;
};

/// Takes all frames into a history. Throws DamageError for one that undoes or redoes out of turn.
[[nodiscard]] History historyOf(FrameLog const& log);

/// What loading found.
struct Loaded {
  std::vector<DamageError> passedOver;  ///< broken checkpoints, the latest first
  u64 checkpointLength = 0;             ///< bytes of the block that reading began with; 0 for the file's start
  u64 since = 0;                        ///< bytes of the blocks behind it
};

/// Brings a project as constructed or reset to the state of the file, from the last good checkpoint on. `progress` is
/// told the place up to which the file is read, and its length. Throws DamageError for a block that is needed and
/// is broken or does not fit.
Loaded load(Project& project, FrameLog const& log, std::function<void(u64, u64)> const& progress);

}  // namespace casebook
