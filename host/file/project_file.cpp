#include "attempt.h"
#include "checkpoint_pace.h"
#include "frame_log.h"
#include "history.h"
#include "loading.h"
#include "replay.h"

#include <casebook/connection.h>
#include <casebook/file.h>
#include <casebook/journal.h>

#include <new>
#include <span>
#include <utility>

namespace casebook {

namespace {

constexpr std::size_t longestLabel = 65535;
constexpr std::string_view outsideLabel = "(outside an edit)";
constexpr std::string_view slotRemark = " (by a slot)";

auto now() { return std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now()); }

std::string textOf(std::exception_ptr const& error) {
  try {
    std::rethrow_exception(error);
  } catch (std::exception const& known) {
    return known.what();
  } catch (...) {
    return "an exception of an unknown kind";
  }
}

}  // namespace

DamageError::DamageError(std::string const& message, u64 offset) : ExceptionBase{message, false}, offset_{offset} {}

DamageError::~DamageError() = default;

/// One project bound to one file. The states, and what leads from one to the next:
///
///   idle       blocks that leave the project wait in `waiting_`
///     edit       writes what waits as `flush` does, then -> editing
///     undo, redo the same, then -> stepping
///     flush      ends what changed outside any transaction; what waits becomes frames, block by block; where that
///     fails
///                the rest goes on waiting, after a lost write -> closed; a checkpoint may follow
///   editing, stepping   a transaction is open or ending; its blocks, too, wait in `waiting_`
///     written    -> idle; a checkpoint may follow, and where it can neither be written nor cut off -> closed
///     failed     -> taking back
///   taking back   those blocks are undone; what this journals is dropped
///     done       -> idle; after a lost write -> closed
///     failed     -> closed
///   closed     for good, `whyClosed_` says why; also from every other state when the host closes the file or
///              resets or clears the project (a clear is noticed by the lost connection)
class ProjectFile::Impl {
 public:
  Impl(FrameLog log, Project& project, Access access) : log_{std::move(log)}, project_{project}, access_{access} {}
  Impl(Impl const&) = delete;
  Impl& operator=(Impl const&) = delete;

  void load(Options const& options);
  void bind();
  bool edit(std::string_view label, std::function<void(Transaction&)> const& change);
  void step(FrameKind kind, std::size_t steps);
  void flush();
  void close(std::string_view why) noexcept;

  [[nodiscard]] bool isOpen() const noexcept { return log_.isOpen() && reset_.connected(); }
  [[nodiscard]] bool isReplaying() const noexcept { return state_ == State::Stepping || state_ == State::TakingBack; }
  [[nodiscard]] FrameLog const& log() const noexcept { return log_; }
  [[nodiscard]] History const& history() const noexcept { return history_; }
  [[nodiscard]] std::vector<DamageError> const& passedOver() const noexcept { return passedOver_; }
  [[nodiscard]] std::vector<unsigned char> block(Frame const& frame) const;

 private:
  using Content = std::vector<unsigned char>;
  enum class State { Idle, Editing, Stepping, TakingBack };

  /// A state for one scope.
  class During {
   public:
    During(Impl& file, State state) noexcept : state_{file.state_}, before_{std::exchange(file.state_, state)} {}
    During(During const&) = delete;
    During& operator=(During const&) = delete;
    ~During() { state_ = before_; }

   private:
    State& state_;
    State before_;
  };

  void read(Options const& options);
  void keep(Journal::TransactionWriter& writer);
  void noticeClear();
  void requireOpen() const;
  void requireWritable();
  void requireEnded();
  void prepare();
  template <class Change>
  void run(State state, Change const& change);
  [[nodiscard]] std::vector<u64> turns(FrameKind kind, std::size_t steps) const;
  void stepOnce(FrameKind kind, u64 sequence, Content const& replayed);
  void name(std::size_t first, std::string const& label);
  void append(std::span<Entry const> entries);
  void writeWaiting();
  void writeAll();
  void considerCheckpoint();
  void writeCheckpoint();
  void abandon(std::string whyClose);
  [[noreturn]] void throwClosed() const;
  [[noreturn]] void closeAndThrow(std::string_view why);

  FrameLog log_;
  Project& project_;
  Access access_;
  State state_ = State::Idle;
  History history_;
  CheckpointPace pace_;
  std::vector<DamageError> passedOver_;
  std::vector<Entry> waiting_;
  bool blockLost_ = false;  // there was no memory to keep one in `waiting_`
  std::string whyClosed_;
  ScopedConnection journal_;
  ScopedConnection reset_;
};

void ProjectFile::Impl::load(Options const& options) {
  try {
    read(options);
    if (access_ == Access::Write) log_.keepTailAside();
    bind();
  } catch (...) {
    close("it could not be opened");
    if (!log_.frames().empty()) attempt([&] { project_.resetProject(); });
    throw;
  }
}

// Each damage that is found leaves fewer frames to read.
void ProjectFile::Impl::read(Options const& options) {
  for (;;) {
    try {
      history_ = historyOf(log_);
      auto loaded = casebook::load(project_, log_, options.progress);
      passedOver_ = std::move(loaded.passedOver);
      pace_ = {loaded.checkpointLength, loaded.since};
      return;
    } catch (DamageError const& damage) {
      if (!options.untilDamage) throw;
      log_.stopBefore(damage);
    }
  }
}

void ProjectFile::Impl::bind() {
  reset_ = project_.connectProjectReset([this] { close("the project was reset"); });
  if (access_ == Access::Write) {
    journal_ = project_.connectProjectJournal([this](Journal::TransactionWriter& writer) { keep(writer); });
  }
}

// A slot only keeps: it may neither wait for a disk nor fail on one.
void ProjectFile::Impl::keep(Journal::TransactionWriter& writer) {
  if (state_ == State::TakingBack) return;
  try {
    auto const block = writer.finalize();
    waiting_.push_back({{block.begin(), block.end()}, {}, now()});
  } catch (...) {
    blockLost_ = true;
    throw;
  }
}

bool ProjectFile::Impl::edit(std::string_view label, std::function<void(Transaction&)> const& change) {
  if (label.size() > longestLabel) {
    throw varnel::ExceptionBase("A label is at most " + std::to_string(longestLabel) + " bytes long.", false);
  }
  prepare();
  bool any = false;
  run(State::Editing, [&] {
    inTransaction(project_, change);
    requireEnded();
    any = !waiting_.empty();
    name(0, std::string{label});
  });
  return any;
}

void ProjectFile::Impl::flush() {
  prepare();
  considerCheckpoint();
}

// Writes what waits from outside, as frames of their own; an empty transaction ends what was changed in none.
void ProjectFile::Impl::prepare() {
  requireWritable();
  inTransaction(project_, [](Transaction&) {});
  requireWritable();
  if (blockLost_) closeAndThrow("there was no memory to keep a change that left the project outside an edit");
  try {
    writeWaiting();
  } catch (LostWriteError const& failure) {
    closeAndThrow(failure.what());
  }
}

// What `change` leaves in `waiting_` becomes one write; or nothing of it is left.
template <class Change>
void ProjectFile::Impl::run(State state, Change const& change) {
  During const during{*this, state};
  try {
    change();
    writeAll();
  } catch (LostWriteError const& lost) {
    abandon(lost.what());
    throw;
  } catch (...) {
    abandon({});
    throw;
  }
  considerCheckpoint();
}

// All blocks are read before anything is done.
void ProjectFile::Impl::step(FrameKind kind, std::size_t steps) {
  prepare();
  auto const sequences = turns(kind, steps);
  std::vector<Content> blocks;
  auto window = log_.window();
  for (auto const sequence : sequences) {
    blocks.push_back(log_.block(window, log_.frames()[static_cast<std::size_t>(sequence - 1)]));
  }
  run(State::Stepping, [&] {
    for (std::size_t k = 0; k < blocks.size(); ++k) {
      if (waiting_.size() != k) throw varnel::ExceptionBase("A slot changed the project between two steps.", false);
      stepOnce(kind, sequences[k], blocks[k]);
    }
  });
}

std::vector<u64> ProjectFile::Impl::turns(FrameKind kind, std::size_t steps) const {
  bool const undoes = kind == FrameKind::Undo;
  auto const& all = undoes ? history_.undoable() : history_.redoable();
  if (steps > all.size()) {
    throw varnel::ExceptionBase(
        "There are " + std::to_string(all.size()) + " transactions to " + (undoes ? "undo." : "redo."), false);
  }
  return {all.rbegin(), all.rbegin() + static_cast<std::ptrdiff_t>(steps)};
}

// A step that changed nothing has an empty block: the frame is what says that it was taken.
void ProjectFile::Impl::stepOnce(FrameKind kind, u64 sequence, Content const& replayed) {
  bool const undoes = kind == FrameKind::Undo;
  auto const own = waiting_.size();
  replay(project_, replayed, undoes ? Project::Direction::Backwards : Project::Direction::Forwards);
  requireEnded();
  if (waiting_.size() == own) {
    Journal::TransactionWriter empty;
    auto const block = empty.finalize();
    waiting_.push_back({{block.begin(), block.end()}, {}, now()});
  }
  name(own, undoes ? "undo" : "redo");
  waiting_[own].kind = kind;
  waiting_[own].argument = sequence;
}

void ProjectFile::Impl::name(std::size_t first, std::string const& label) {
  for (auto k = first; k < waiting_.size(); ++k) waiting_[k].label = label;
  for (auto k = first + 1; k < waiting_.size(); ++k) waiting_[k].label += slotRemark;
}

// Each block by itself: frames of one write count only together, so that what breaks one of them would be taken for a
// write that was cut off, and all of them for lost.
void ProjectFile::Impl::writeWaiting() {
  std::size_t written = 0;
  auto const drop = [&] { waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(written)); };
  try {
    for (; written < waiting_.size(); ++written) {
      waiting_[written].label = outsideLabel;
      append({&waiting_[written], 1});
    }
  } catch (...) {
    drop();
    throw;
  }
  drop();
}

void ProjectFile::Impl::writeAll() {
  if (waiting_.empty()) return;
  append(waiting_);
  waiting_.clear();
}

void ProjectFile::Impl::append(std::span<Entry const> entries) {
  history_.makeRoom(entries.size());
  log_.append(entries);
  for (auto const& frame : std::span{log_.frames()}.last(entries.size())) {
    static_cast<void>(history_.take(frame));
    pace_.add(frame.blockLength);
  }
}

// The edit stands whatever becomes of this: what is before the checkpoint was synced before.
void ProjectFile::Impl::considerCheckpoint() {
  if (!pace_.isTimeToLook()) return;
  try {
    writeCheckpoint();
  } catch (LostWriteError const&) {
    pace_.failed();
    if (!attempt([&] { log_.cutOff(); }))
      close("a checkpoint could neither be written nor cut off; all edits are in the file");
  } catch (std::exception const&) {
    pace_.failed();
  }
}

void ProjectFile::Impl::writeCheckpoint() {
  auto state = project_.checkpoint();
  auto const length = state.block.size();
  if (!pace_.isWorth(length)) return pace_.postpone(length);
  Entry const entry{std::move(state.block), {}, now(), FrameKind::Checkpoint, state.nextUid};
  log_.append({&entry, 1});
  pace_.written(length);
}

void ProjectFile::Impl::noticeClear() {
  if (log_.isOpen() && !reset_.connected()) close("the project was cleared");
}

void ProjectFile::Impl::requireOpen() const {
  if (!log_.isOpen()) throwClosed();
}

std::vector<unsigned char> ProjectFile::Impl::block(Frame const& frame) const {
  requireOpen();
  auto window = log_.window();
  return log_.block(window, frame);
}

void ProjectFile::Impl::requireWritable() {
  noticeClear();
  requireOpen();
  auto const refuse = [&](std::string const& why) { throw varnel::ExceptionBase(log_.path().string() + why, false); };
  if (access_ == Access::Read) refuse(" was opened to be read.");
  if (project_.isEmitting()) refuse(" cannot be written within a slot.");
  if (project_.transactionDepth() != 0) refuse(" cannot be written within a transaction.");
  if (state_ != State::Idle) refuse(" cannot be written within an edit.");
}

// An edit may be written when it has ended, all of its blocks are here, and nothing in it closed the file.
void ProjectFile::Impl::requireEnded() {
  noticeClear();
  requireOpen();
  if (project_.transactionDepth() != 0) throw varnel::ExceptionBase("The edit left a transaction open.", false);
  if (blockLost_) throw std::bad_alloc{};
}

// Called while the failure is handled. Closes the file where it cannot go on, for the reason given or its own.
void ProjectFile::Impl::abandon(std::string whyClose) {
  auto const failure = std::current_exception();
  auto const entries = std::exchange(waiting_, {});
  bool const lost = std::exchange(blockLost_, false);
  noticeClear();
  if (!log_.isOpen()) return;
  if (project_.transactionDepth() != 0) {
    whyClose = "an edit left a transaction open";
  } else {
    try {
      if (lost) throw std::bad_alloc{};
      During const takingBack{*this, State::TakingBack};
      takeBack(project_, entries);
    } catch (...) {
      auto const second = std::current_exception();
      bool const told = attempt([&] {
        whyClose = "an edit failed (" + textOf(failure) + ") and could not be taken back (" + textOf(second) + ')';
      });
      if (!told) whyClose = "out of memory";  // short enough to need none
    }
  }
  if (!whyClose.empty()) closeAndThrow(whyClose);
}

void ProjectFile::Impl::close(std::string_view why) noexcept {
  if (!log_.isOpen()) return;
  attempt([&] { whyClosed_ = why; });
  journal_.disconnect();
  reset_.disconnect();
  log_.close();
}

void ProjectFile::Impl::throwClosed() const {
  auto message = log_.path().string() + " is closed: " + whyClosed_ + '.';
  if (!waiting_.empty()) message += " Changes that were not written: " + std::to_string(waiting_.size()) + '.';
  throw varnel::ExceptionBase(message, false);
}

void ProjectFile::Impl::closeAndThrow(std::string_view why) {
  close(why);
  throwClosed();
}

ProjectFile::ProjectFile(std::unique_ptr<Impl> impl) noexcept : impl_{std::move(impl)} {}
ProjectFile::ProjectFile(ProjectFile&&) noexcept = default;
ProjectFile& ProjectFile::operator=(ProjectFile&&) noexcept = default;
ProjectFile::~ProjectFile() = default;

ProjectFile ProjectFile::create(std::filesystem::path const& path, Project& project) {
  return create(path, project, Options{});
}

ProjectFile ProjectFile::create(std::filesystem::path const& path, Project& project, Options const& options) {
  if (options.access == Access::Read) throw varnel::ExceptionBase("A new file is opened for writing.", false);
  requireFresh(project, path);
  auto impl =
      std::make_unique<Impl>(FrameLog::create(FileSystem::orReal(options.fileSystem), path), project, options.access);
  impl->bind();
  return ProjectFile{std::move(impl)};
}

ProjectFile ProjectFile::open(std::filesystem::path const& path, Project& project) {
  return open(path, project, Options{});
}

ProjectFile ProjectFile::open(std::filesystem::path const& path, Project& project, Options const& options) {
  if (options.untilDamage && options.access == Access::Write) {
    throw varnel::ExceptionBase("A damaged file is only opened to be read.", false);
  }
  requireFresh(project, path);
  auto impl = std::make_unique<Impl>(FrameLog::open(FileSystem::orReal(options.fileSystem), path, options), project,
                                     options.access);
  impl->load(options);
  return ProjectFile{std::move(impl)};
}

bool ProjectFile::edit(std::string_view label, std::function<void(Transaction&)> const& change) {
  return impl_->edit(label, change);
}

void ProjectFile::undo(std::size_t steps) { impl_->step(FrameKind::Undo, steps); }
void ProjectFile::redo(std::size_t steps) { impl_->step(FrameKind::Redo, steps); }
void ProjectFile::flush() { impl_->flush(); }

void ProjectFile::close() noexcept {
  if (impl_) impl_->close("it was closed");
}

bool ProjectFile::isOpen() const noexcept { return impl_ && impl_->isOpen(); }
bool ProjectFile::isReplaying() const noexcept { return impl_ && impl_->isReplaying(); }
std::filesystem::path const& ProjectFile::path() const noexcept { return impl_->log().path(); }
std::vector<Frame> const& ProjectFile::frames() const noexcept { return impl_->log().frames(); }
std::vector<unsigned char> ProjectFile::block(Frame const& frame) const { return impl_->block(frame); }
std::optional<IncompleteTail> const& ProjectFile::incompleteTail() const noexcept { return impl_->log().tail(); }
std::optional<DamageError> const& ProjectFile::damage() const noexcept { return impl_->log().damage(); }
std::vector<u64> const& ProjectFile::undoable() const noexcept { return impl_->history().undoable(); }
std::vector<u64> const& ProjectFile::redoable() const noexcept { return impl_->history().redoable(); }
std::optional<u64> ProjectFile::redoEndedBy() const noexcept { return impl_->history().redoEndedBy(); }
std::vector<DamageError> const& ProjectFile::passedOver() const noexcept { return impl_->passedOver(); }
std::string ProjectFile::identity() const { return impl_->log().identity(); }

}  // namespace casebook
