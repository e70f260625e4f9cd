#include "loading.h"

#include <casebook/journal.h>

#include <optional>
#include <span>

namespace casebook {

namespace {

bool isFresh(Project& project) {
  if (project.transactionDepth() != 0 || project.isEmitting()) return false;
  auto const state = project.checkpoint();
  return state.nextUid == 2 && state.block.size() == Journal::TransactionWriter::headerSize;
}

std::optional<std::size_t> lastCheckpoint(std::span<Frame const> frames) {
  while (!frames.empty() && frames.back().kind != FrameKind::Checkpoint) frames = frames.first(frames.size() - 1);
  return frames.empty() ? std::nullopt : std::optional{frames.size() - 1};
}

/// Loads the frames from `first` on, which is a checkpoint or the first of all; later checkpoints add nothing.
Loaded loadFrom(std::size_t first, Project& project, FrameLog const& log,
                std::function<void(u64, u64)> const& progress) {
  Loaded loaded;
  BlockRow row{log};
  auto const length = log.window().length();
  for (auto const& frame : std::span{log.frames()}.subspan(first)) {
    if (frame.kind != FrameKind::Checkpoint) {
      row.add(frame);
      loaded.since += frame.blockLength;
    } else if (&frame == &log.frames()[first]) {
      row.add(frame);
      loaded.checkpointLength = frame.blockLength;
    }
    if (progress) progress(endOf(frame), length);
  }
  row.restore(project);
  return loaded;
}

}  // namespace

u64 endOf(Frame const& frame) noexcept {
  using format::FrameHead;
  return frame.offset + FrameHead::size + frame.label.size() + frame.blockLength + FrameHead::checkSize;
}

void requireFresh(Project& project, std::filesystem::path const& path) {
  if (!isFresh(project)) {
    throw varnel::ExceptionBase(path.string() + " can only be opened into a project as constructed or reset.", false);
  }
}

void BlockRow::add(Frame const& frame) {
  blocks_.push_back(log_->block(window_, frame));
  frames_.push_back(&frame);
}

void BlockRow::restore(Project& project) const {
  std::vector<Journal::Transaction> blocks;
  for (auto const& bytes : blocks_) blocks.emplace_back(bytes, 0);
  bool const fromCheckpoint = !frames_.empty() && frames_.front()->kind == FrameKind::Checkpoint;
  try {
    project.restore(blocks, fromCheckpoint ? frames_.front()->argument : 0);
  } catch (Journal::RestoreError const& error) {
    throw damagedFrame(log_->path(), *frames_[error.number() - 1], "its block cannot be replayed: " + error.reason());
  }
}

History historyOf(FrameLog const& log) {
  History history;
  for (auto const& frame : log.frames()) {
    if (!history.take(frame)) {
      throw damagedFrame(log.path(), frame,
                         "it names a transaction whose turn it is not: frame " + std::to_string(frame.argument));
    }
  }
  return history;
}

Loaded load(Project& project, FrameLog const& log, std::function<void(u64, u64)> const& progress) {
  std::vector<DamageError> passedOver;
  auto const frames = std::span{log.frames()};
  for (auto start = lastCheckpoint(frames);; start = lastCheckpoint(frames.first(*start))) {
    try {
      auto loaded = loadFrom(start.value_or(0), project, log, progress);
      loaded.passedOver = std::move(passedOver);
      return loaded;
    } catch (DamageError const& damage) {
      if (!start || damage.offset() != frames[*start].offset) throw;
      passedOver.push_back(damage);
    }
  }
}

}  // namespace casebook
