#pragma once

#include <casebook/exception_base.h>
#include <casebook/project.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace casebook {

class FileSystem;

/// What a frame holds. Stored in files: never renumber.
enum class FrameKind : std::uint32_t {
  Transaction = 1,
  Checkpoint = 2,  ///< the state that the frames before it gave; the file can be read from here on
  Undo = 3,
  Redo = 4
};

/// One frame of a file.
struct Frame {
  u64 offset = 0;    ///< of its head, in bytes from the file's start
  u64 sequence = 0;  ///< 1 for the first
  FrameKind kind = FrameKind::Transaction;
  u64 argument = 0;  ///< of an undo or redo the sequence number of its transaction, of a checkpoint the next UID
  u64 blockLength = 0;
  /// What the person did: as given to `edit`, or "undo" or "redo", followed by " (by a slot)" for what a slot did in
  /// consequence; "(outside an edit)" for what left the project otherwise; empty for a checkpoint. Checked with the
  /// block, so that of a frame whose block was not read may be broken.
  std::string label;
  std::chrono::sys_time<std::chrono::milliseconds> when;
};

/// A bad frame with good ones after it, or a bad header: the file was changed after it was written. The message is
/// "<path> is damaged at byte <offset>: <what>.", the flag false.
class CASEBOOK_EXPORT DamageError : public varnel::ExceptionBase {
 public:
  DamageError(std::string const& message, u64 offset);
  ~DamageError() override;
  /// Where the bad frame begins.
  [[nodiscard]] u64 offset() const noexcept { return offset_; }

 private:
  u64 offset_;
};

/// Bytes after the last whole frame: a write that was cut off before it was acknowledged. The frames of one edit
/// count only together. The last write, when it was broken later, cannot be told from one that was cut off.
struct IncompleteTail {
  u64 offset = 0;
  u64 length = 0;
  std::filesystem::path keptAside;  ///< where a writer kept the bytes; empty when only read
};

/// What ProjectFile::verify found.
struct Verification {
  u64 transactions = 0;
  u64 undone = 0;  ///< of them
  u64 checkpoints = 0;
  std::vector<DamageError> badCheckpoints;  ///< broken ones, and those that hold another state than the frames before
  std::optional<IncompleteTail> tail;
};

/// A project's durable file: a header, then one frame for each transaction and each step of undo and redo (grammar in
/// frame_format.h), and now and then a checkpoint, so that a long file opens as fast as a short one.
///
/// An edit is acknowledged when its frames are whole on the disk: its own, and those of slots that edited in
/// consequence. Blocks that leave the project outside `edit` (a host's own transaction and its slots) become frames in
/// the order in which they left, at the latest with the next `edit` or `flush`; each is a write of its own.
///
/// The file is bound to the project until it is closed or destroyed, and must not outlive it. A reset or clear of
/// the project closes it.
class CASEBOOK_EXPORT ProjectFile {
 public:
  enum class Access {
    Read,  ///< shared lock, opened read-only; never writes; works on a read-only medium
    Write  ///< exclusive lock
  };

  struct Options {
    Access access = Access::Write;
    /// How long to wait for another program's lock.
    std::chrono::milliseconds lockWait{2000};
    /// Stop before the first bad frame instead of refusing the file; only with Access::Read.
    bool untilDamage = false;
    /// Told, while a file is opened, up to which of its bytes it is read, and how many there are. Begins again where
    /// damage is found and passed over.
    std::function<void(u64 done, u64 total)> progress;
    /// All file access; the real one when null. Borrowed.
    FileSystem* fileSystem = nullptr;
  };

  /// Makes a new file of the project's present state, which must be that of a project as constructed or reset, and
  /// binds it for writing. Never overwrites: throws ("<path> exists already.", false).
  static ProjectFile create(std::filesystem::path const& path, Project& project, Options const& options);
  static ProjectFile create(std::filesystem::path const& path, Project& project);

  /// Opens a file and brings the project, which must be as constructed or reset, to the file's state, of which no slot
  /// hears. Reads the heads of all frames, and blocks from the last good checkpoint on: damage to a block before it is
  /// found by what reads that block.
  /// Throws DamageError, or varnel::ExceptionBase with a message that names the path and the reason where the file
  /// cannot be read, is locked, is of a later version or holds a frame of a kind that is not known here. The project
  /// is as constructed or reset then.
  static ProjectFile open(std::filesystem::path const& path, Project& project, Options const& options);
  static ProjectFile open(std::filesystem::path const& path, Project& project);

  /// Replays a file from its first frame and compares the state with each checkpoint. The project must be as
  /// constructed or reset, and is reset in the end. Throws as `open` does, for damage to any block of a transaction
  /// too.
  static Verification verify(std::filesystem::path const& path, Project& project, Options const& options);

  ProjectFile(ProjectFile&&) noexcept;
  ProjectFile& operator=(ProjectFile&&) noexcept;
  ~ProjectFile();

  /// Runs `change` in a transaction, commits it and writes its blocks as frames, which are on the disk when the call
  /// returns. Returns whether there was anything to write. When `change`, the commit or the write throws, nothing of
  /// it is in the file, what it did in the project is undone (the UID counter apart), and the exception passes. Where
  /// that cannot be had, the file closes for good and a message like the first of these says so, and whether the change
  /// may be in the file. Refused before `change` runs, all with the flag false:
  ///
  ///   "<path> is closed: <why>."
  ///   "<path> was opened to be read."
  ///   "<path> cannot be written within a transaction.", "... within a slot.", "... within an edit."
  ///   "A label is at most 65535 bytes long."
  ///
  /// What waits from outside is written first; where that fails, `change` does not run either. `change` must not
  /// destroy this object. A checkpoint that cannot be written after it is no failure of the edit.
  bool edit(std::string_view label, std::function<void(Transaction&)> const& change);

  /// Sequence numbers of the transactions that stand, which can be undone, the latest last.
  [[nodiscard]] std::vector<u64> const& undoable() const noexcept;
  /// Sequence numbers of the transactions that are undone and can be redone, the next one last.
  [[nodiscard]] std::vector<u64> const& redoable() const noexcept;
  /// The transaction that came after an undo, so that what was undone can no longer be redone; until the next undo.
  [[nodiscard]] std::optional<u64> redoEndedBy() const noexcept;

  /// Undoes the last `steps` transactions that stand, or redoes as many of the last undone, each in a transaction
  /// of its own and all in one write. Refused and failing as `edit`; nothing is done either when there are fewer
  /// ("There are <n> transactions to undo.", "... to redo.", false), when a block that is needed is broken
  /// (DamageError), or when a slot edits between two steps.
  void undo(std::size_t steps = 1);
  void redo(std::size_t steps = 1);

  /// Writes and syncs the blocks that left the project outside `edit`, one after the other, refused and failing as
  /// `edit` does. Those that were written before a failure stay in the file; the others go on waiting, unless the file
  /// closed.
  void flush();

  /// Lets go of the file and of the project; blocks that were not flushed are lost.
  void close() noexcept;
  /// False after `close`, after a failure that closed the file for good, and after a reset or clear of the project.
  [[nodiscard]] bool isOpen() const noexcept;
  /// True while transactions of the file are replayed: in a step of undo or redo, and while a failed edit is taken
  /// back, the last transaction first. A slot that edits in consequence of others holds still then, for what it did is
  /// a transaction among them. What one does in a step nevertheless is an edit of its own, which ends redo; in a taking
  /// back it makes that fail, as a slot does that throws.
  [[nodiscard]] bool isReplaying() const noexcept;

  [[nodiscard]] std::filesystem::path const& path() const noexcept;
  [[nodiscard]] std::vector<Frame> const& frames() const noexcept;
  /// The block of a frame, read from the disk and checked. Throws DamageError, or as `edit` does on a closed file.
  [[nodiscard]] std::vector<unsigned char> block(Frame const& frame) const;
  /// What stood after the last whole frame when the file was opened.
  [[nodiscard]] std::optional<IncompleteTail> const& incompleteTail() const noexcept;
  /// The damage before which opening stopped (Options::untilDamage).
  [[nodiscard]] std::optional<DamageError> const& damage() const noexcept;
  /// The checkpoints with broken blocks that opening passed over, the latest first. Nothing is lost with them.
  [[nodiscard]] std::vector<DamageError> const& passedOver() const noexcept;
  /// Random, made with the file: 32 hexadecimal digits.
  [[nodiscard]] std::string identity() const;

 private:
  class Impl;
  explicit ProjectFile(std::unique_ptr<Impl> impl) noexcept;

  std::unique_ptr<Impl> impl_;
};

}  // namespace casebook
