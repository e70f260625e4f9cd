#include "history.h"

namespace casebook {

bool History::take(Frame const& frame) {
  switch (frame.kind) {
    case FrameKind::Transaction: add(frame.sequence); return true;
    case FrameKind::Checkpoint: return true;
    case FrameKind::Redo: return move(redoable_, undoable_, frame.argument);
    case FrameKind::Undo:
      if (!move(undoable_, redoable_, frame.argument)) return false;
      redoEndedBy_.reset();
      return true;
  }
  return false;
}

void History::makeRoom(std::size_t n) {
  for (auto* list : {&undoable_, &redoable_}) {
    if (auto const needed = undoable_.size() + redoable_.size() + n; list->capacity() < needed)
      list->reserve(2 * needed);
  }
}

bool History::move(std::vector<u64>& from, std::vector<u64>& to, u64 sequence) {
  if (from.empty() || from.back() != sequence) return false;
  to.push_back(sequence);
  from.pop_back();
  return true;
}

void History::add(u64 sequence) {
  undoable_.push_back(sequence);
  if (redoable_.empty()) return;
  redoEndedBy_ = sequence;
  redoable_.clear();
}

}  // namespace casebook
