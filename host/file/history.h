#pragma once

#include <casebook/file.h>

#include <optional>
#include <span>
#include <vector>

namespace casebook {

/// Which transactions stand and which are undone, as it follows from a file's frames.
class History {
 public:
  /// Takes the next frame in. False, with nothing changed, when it undoes or redoes another than the one whose turn
  /// it is.
  [[nodiscard]] bool take(Frame const& frame);

  /// Makes room for `n` more, which are then taken in without a need for memory.
  void makeRoom(std::size_t n);

  /// Sequence numbers of the transactions that stand, the latest last.
  [[nodiscard]] std::vector<u64> const& undoable() const noexcept { return undoable_; }
  /// Sequence numbers of those that are undone and can be redone, the next one last.
  [[nodiscard]] std::vector<u64> const& redoable() const noexcept { return redoable_; }
  /// The transaction after which what was undone before it can no longer be redone; until the next undo.
  [[nodiscard]] std::optional<u64> redoEndedBy() const noexcept { return redoEndedBy_; }

 private:
  static bool move(std::vector<u64>& from, std::vector<u64>& to, u64 sequence);
  void add(u64 sequence);

  std::vector<u64> undoable_;
  std::vector<u64> redoable_;
  std::optional<u64> redoEndedBy_;
};

}  // namespace casebook
