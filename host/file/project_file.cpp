#include "attempt.h"
#include "frame_log.h"
#include "replay.h"

#include <casebook/connection.h>
#include <casebook/file.h>
#include <casebook/journal.h>

#include <new>
#include <utility>

namespace casebook {

namespace {

constexpr std::size_t longestLabel = 65535;
constexpr std::string_view outsideLabel = "(outside an edit)";
constexpr std::string_view slotRemark = " (by a slot)";

auto now() { return std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now()); }

FileSystem& systemOf(ProjectFile::Options const& options) {
  return options.fileSystem ? *options.fileSystem : FileSystem::real();
}

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
///     flush      what waits becomes frames, block by block; where that fails the rest goes on waiting, after a lost
///                write -> closed
///   editing    a transaction is open or ending; its blocks, too, wait in `waiting_`
///     written    -> idle
///     failed     its blocks are dropped; had there been any -> replaying, else as when replayed
///   replaying  the project is emptied and brought back from the file, whose own these blocks and this reset are
///     replayed   -> idle; after a lost write -> closed
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
  void flush();
  void close(std::string why) noexcept;

  [[nodiscard]] bool isOpen() const noexcept { return log_.isOpen() && reset_.connected(); }
  [[nodiscard]] bool isReplaying() const noexcept { return state_ == State::Replaying; }
  [[nodiscard]] FrameLog const& log() const noexcept { return log_; }
  [[nodiscard]] std::vector<unsigned char> block(Frame const& frame) const;

 private:
  enum class State { Idle, Editing, Replaying };

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

  void replayWhole(Options const& options);
  void keep(Journal::TransactionWriter& writer);
  void noticeClear();
  void requireOpen() const;
  void requireWritable();
  void requireEnded();
  void writeWaiting();
  void write(std::string const& first, std::string const& others);
  void abandon(std::string whyClose);
  [[noreturn]] void throwClosed() const;
  [[noreturn]] void closeAndThrow(std::string why);

  FrameLog log_;
  Project& project_;
  Access access_;
  State state_ = State::Idle;
  std::vector<Entry> waiting_;
  bool blockLost_ = false;  // there was no memory to keep one in `waiting_`
  std::string whyClosed_;
  ScopedConnection journal_;
  ScopedConnection reset_;
};

void ProjectFile::Impl::load(Options const& options) {
  try {
    replayWhole(options);
    if (access_ == Access::Write) log_.keepTailAside();
    bind();
  } catch (...) {
    close("it could not be opened");
    if (!log_.frames().empty()) attempt([&] { project_.resetProject(); });
    throw;
  }
}

void ProjectFile::Impl::replayWhole(Options const& options) {
  try {
    replay(project_, log_, options.progress);
  } catch (DamageError const& damage) {
    if (!options.untilDamage) throw;
    log_.stopBefore(damage);
    restore(project_, log_);
  }
}

void ProjectFile::Impl::bind() {
  reset_ = project_.connectProjectReset([this] {
    if (state_ != State::Replaying) close("the project was reset");
  });
  if (access_ == Access::Write) {
    journal_ = project_.connectProjectJournal([this](Journal::TransactionWriter& writer) { keep(writer); });
  }
}

// A slot only keeps: it may neither wait for a disk nor fail on one.
void ProjectFile::Impl::keep(Journal::TransactionWriter& writer) {
  if (state_ == State::Replaying) return;
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
  flush();
  During const editing{*this, State::Editing};
  try {
    inTransaction(project_, change);
    requireEnded();
    bool const any = !waiting_.empty();
    if (any) write(std::string{label}, std::string{label} += slotRemark);
    return any;
  } catch (LostWriteError const& lost) {
    abandon(lost.what());
    throw;
  } catch (...) {
    abandon({});
    throw;
  }
}

void ProjectFile::Impl::flush() {
  requireWritable();
  if (blockLost_) closeAndThrow("there was no memory to keep a change that left the project outside an edit");
  try {
    writeWaiting();
  } catch (LostWriteError const& failure) {
    closeAndThrow(failure.what());
  }
}

// Each block by itself: frames of one write count only together, so that what breaks one of them would be taken for a
// write that was cut off, and all of them for lost.
void ProjectFile::Impl::writeWaiting() {
  std::size_t written = 0;
  auto const drop = [&] { waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(written)); };
  try {
    for (; written < waiting_.size(); ++written) {
      waiting_[written].label = outsideLabel;
      log_.append({&waiting_[written], 1});
    }
  } catch (...) {
    drop();
    throw;
  }
  drop();
}

void ProjectFile::Impl::write(std::string const& first, std::string const& others) {
  for (auto& entry : waiting_) entry.label = &entry == waiting_.data() ? first : others;
  log_.append(waiting_);
  waiting_.clear();
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
  FrameBody const body{window, frame, log_.path()};
  return {body.block().begin(), body.block().end()};
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
  bool const left = blockLost_ || !waiting_.empty();
  waiting_.clear();
  blockLost_ = false;
  noticeClear();
  if (!log_.isOpen()) return;
  if (project_.transactionDepth() != 0) {
    whyClose = "an edit left a transaction open";
  } else if (left) {
    try {
      During const replaying{*this, State::Replaying};
      restore(project_, log_);
    } catch (...) {
      whyClose = "an edit failed (" + textOf(failure) + ") and could not be taken back (" +
                 textOf(std::current_exception()) + ')';
    }
  }
  if (!whyClose.empty()) closeAndThrow(std::move(whyClose));
}

void ProjectFile::Impl::close(std::string why) noexcept {
  if (!log_.isOpen()) return;
  whyClosed_ = std::move(why);
  journal_.disconnect();
  reset_.disconnect();
  log_.close();
}

void ProjectFile::Impl::throwClosed() const {
  auto message = log_.path().string() + " is closed: " + whyClosed_ + '.';
  if (!waiting_.empty()) message += " Changes that were not written: " + std::to_string(waiting_.size()) + '.';
  throw varnel::ExceptionBase(message, false);
}

void ProjectFile::Impl::closeAndThrow(std::string why) {
  close(std::move(why));
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
  auto impl = std::make_unique<Impl>(FrameLog::create(systemOf(options), path), project, options.access);
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
  auto impl = std::make_unique<Impl>(FrameLog::open(systemOf(options), path, options), project, options.access);
  impl->load(options);
  return ProjectFile{std::move(impl)};
}

bool ProjectFile::edit(std::string_view label, std::function<void(Transaction&)> const& change) {
  return impl_->edit(label, change);
}

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
std::string ProjectFile::identity() const { return impl_->log().identity(); }

}  // namespace casebook
