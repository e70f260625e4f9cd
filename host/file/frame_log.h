#pragma once

#include "disk_file.h"
#include "frame_scan.h"
#include "new_file.h"

#include <casebook/file.h>

#include <optional>
#include <string>
#include <vector>

namespace casebook {

/// What is to be written as a frame.
struct Entry {
  std::vector<unsigned char> block;
  std::string label;
  decltype(Frame::when) when;
  FrameKind kind = FrameKind::Transaction;
  u64 argument = 0;
};

/// After this failure of a write it is not known what the disk holds, or the rest of the write could not be cut off.
class LostWriteError : public varnel::ExceptionBase {
 public:
  using ExceptionBase::ExceptionBase;
};

/// One file of frames and its lock; it knows nothing of projects.
class FrameLog {
 public:
  /// Writes an empty file beside `path` and puts it there, never replacing anything. Locked for writing.
  static FrameLog create(FileSystem& system, std::filesystem::path const& path);
  /// Locks the file and finds its frames; changes nothing. Throws DamageError unless `untilDamage`.
  static FrameLog open(FileSystem& system, std::filesystem::path const& path, ProjectFile::Options const& options);

  /// Lets go of the file and its lock; what was found stays.
  void close() noexcept { file_.close(); }
  [[nodiscard]] bool isOpen() const noexcept { return file_.isOpen(); }

  [[nodiscard]] std::filesystem::path const& path() const noexcept { return file_.name(); }
  [[nodiscard]] std::string identity() const { return toHex(header_.identity); }
  [[nodiscard]] std::vector<Frame> const& frames() const noexcept { return scan_.frames; }
  [[nodiscard]] std::optional<IncompleteTail> const& tail() const noexcept { return tail_; }
  [[nodiscard]] std::optional<DamageError> const& damage() const noexcept { return damage_; }

  /// The whole frames' bytes, to be read in order.
  [[nodiscard]] FileWindow window() const { return {file_, scan_.end}; }

  /// Drops the write in which `error` was found, and all behind it.
  void stopBefore(DamageError const& error);

  /// A frame's block, read and checked: by the frame's check, and its own. Throws DamageError.
  [[nodiscard]] std::vector<unsigned char> block(FileWindow& window, Frame const& frame) const;

  /// Copies what follows the last whole frame to a new file beside this one, then cuts it off. Nothing has changed
  /// here when it throws before the cut.
  void keepTailAside();

  /// Writes the entries as frames of one write. The steps, and what holds when one fails:
  ///
  ///   1  encode, reserve        nothing was written
  ///   2  write                  cut off again and synced: nothing was written; that failing: LostWriteError
  ///   3  sync                   cut off as far as can be, LostWriteError
  ///   4  count the frames in    cannot fail
  void append(std::span<Entry const> entries);

  /// Cuts off what stands behind the last whole frame, on the disk too.
  void cutOff();

 private:
  FrameLog(DiskFile file, format::FileHeader header);

  void readHeader();
  void find(bool untilDamage);
  [[nodiscard]] std::filesystem::path copyTail(u64 length) const;
  void writeAndSync(std::vector<unsigned char> const& bytes);
  void cutOffAfter(std::exception const& failure);
  [[nodiscard]] format::FrameHead headOf(Entry const& entry) const;

  DiskFile file_;
  format::FileHeader header_;
  FrameScan scan_;
  std::optional<IncompleteTail> tail_;
  std::optional<DamageError> damage_;
};

}  // namespace casebook
