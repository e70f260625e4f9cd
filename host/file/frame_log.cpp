#include "frame_log.h"

#include "attempt.h"

#include "new_file.h"

#include <casebook/journal.h>

#include <algorithm>
#include <iterator>
#include <limits>

namespace casebook {

namespace {

using format::FileHeader;
using format::FrameHead;

[[noreturn]] void refuse(std::filesystem::path const& path, std::string const& why) {
  throw varnel::ExceptionBase(path.string() + ' ' + why, false);
}

std::filesystem::path numbered(std::filesystem::path path, int k) {
  return path += k == 1 ? ".tail" : ".tail-" + std::to_string(k);
}

}  // namespace

FrameLog::FrameLog(DiskFile file, FileHeader header) : file_{std::move(file)}, header_{header} {
  scan_.end = FileHeader::size;
  scan_.check = header.storedCheck;
}

FrameLog FrameLog::create(FileSystem& system, std::filesystem::path const& path) {
  FileHeader header;
  fillRandom(header.identity);
  auto const bytes = header.encode();
  NewFile made{system, path};
  made.file().lock(FileSystem::Lock::Exclusive, {});
  made.file().write(0, bytes);
  if (!made.putInPlace(path)) refuse(path, "exists already.");
  header.storedCheck = format::readCheck(std::span{bytes}.last<4>());
  return {std::move(made).take(), header};
}

FrameLog FrameLog::open(FileSystem& system, std::filesystem::path const& path, ProjectFile::Options const& options) {
  bool const writes = options.access == ProjectFile::Access::Write;
  FrameLog log{{system, path, writes ? DiskFile::Opening::Write : DiskFile::Opening::Read, path}, {}};
  static_cast<void>(log.file_.size());
  log.file_.lock(writes ? FileSystem::Lock::Exclusive : FileSystem::Lock::Shared, options.lockWait);
  log.readHeader();
  log.find(options.untilDamage);
  return log;
}

void FrameLog::readHeader() {
  FileHeader::Encoded bytes{};
  if (file_.size() < bytes.size()) refuse(path(), "is too short to be a casebook file.");
  file_.read(0, bytes);
  auto const header = FileHeader::decode(bytes);
  if (!header) refuse(path(), "is not a casebook file.");
  if (!header->good) throw damageAt(path(), 0, "its header is broken");
  if (header->version != FileHeader::newestVersion) {
    refuse(path(), "is of format version " + std::to_string(header->version) + "; this program knows version " +
                       std::to_string(FileHeader::newestVersion) + '.');
  }
  header_ = *header;
}

void FrameLog::find(bool untilDamage) {
  FileWindow window{file_, file_.size()};
  scan_ = scanFrames(window, header_.storedCheck, path());
  if (scan_.damage) {
    damage_ = damageAt(path(), scan_.damage->offset, scan_.damage->what);
    if (!untilDamage) throw DamageError{*damage_};
  } else if (scan_.end < window.length()) {
    tail_ = IncompleteTail{scan_.end, window.length() - scan_.end, {}};
  }
}

void FrameLog::stopBefore(DamageError const& error) {
  auto const bad = std::ranges::lower_bound(scan_.frames, error.offset(), {}, &Frame::offset);
  auto const head = FrameHead::decode(window().at(error.offset(), FrameHead::size));
  auto const part = head ? static_cast<std::ptrdiff_t>(head->part) : 0;
  scan_.frames.erase(bad - part, scan_.frames.end());
  damage_ = error;
  tail_.reset();
}

std::vector<unsigned char> FrameLog::block(FileWindow& window, Frame const& frame) const {
  auto bytes = readBlock(window, frame, path());
  Journal::Transaction const block{bytes, 0};
  if (!block.valid() || block.length() != bytes.size()) throw damagedFrame(path(), frame, "its block is not whole");
  return bytes;
}

void FrameLog::keepTailAside() {
  if (!tail_) return;
  auto const kept = copyTail(tail_->length);
  cutOff();
  tail_->keptAside = kept;
}

std::filesystem::path FrameLog::copyTail(u64 length) const {
  NewFile copy{file_.system(), numbered(path(), 1)};
  FileWindow from{file_, scan_.end + length};
  for (u64 done = 0; done < length;) {
    auto const bytes = from.at(scan_.end + done, FileWindow::reach);
    copy.file().write(done, bytes);
    done += bytes.size();
  }
  int k = 1;
  while (!copy.putInPlace(numbered(path(), k))) ++k;
  return numbered(path(), k);
}

FrameHead FrameLog::headOf(Entry const& entry) const {
  FrameHead head;
  head.kind = static_cast<std::uint32_t>(entry.kind);
  head.file = header_.storedCheck;
  head.argument = entry.argument;
  head.when = entry.when.time_since_epoch().count();
  head.blockLength = entry.block.size();
  return head;
}

void FrameLog::append(std::span<Entry const> entries) {
  std::vector<unsigned char> bytes;
  std::vector<Frame> written;
  auto check = scan_.check;
  for (auto const& entry : entries) {
    auto head = headOf(entry);
    head.previous = check;
    head.sequence = scan_.frames.size() + written.size() + 1;
    head.part = static_cast<std::uint32_t>(written.size());
    head.parts = static_cast<std::uint32_t>(entries.size());
    written.push_back({.offset = scan_.end + bytes.size(),
                       .sequence = head.sequence,
                       .kind = entry.kind,
                       .argument = entry.argument,
                       .blockLength = head.blockLength,
                       .label = entry.label,
                       .when = entry.when});
    check = format::appendFrame(bytes, head, entry.label, entry.block);
  }
  auto const needed = scan_.frames.size() + written.size();
  if (scan_.frames.capacity() < needed) scan_.frames.reserve(2 * needed);
  writeAndSync(bytes);
  std::ranges::move(written, std::back_inserter(scan_.frames));
  scan_.end += bytes.size();
  scan_.check = check;
}

void FrameLog::writeAndSync(std::vector<unsigned char> const& bytes) {
  try {
    file_.write(scan_.end, bytes);
  } catch (std::exception const& failure) {
    cutOffAfter(failure);
    throw;
  }
  try {
    file_.sync();
  } catch (std::exception const& failure) {
    attempt([&] { file_.truncate(scan_.end); });
    throw LostWriteError(std::string{failure.what()} + "; whether the last change is in the file is not known", false);
  }
}

void FrameLog::cutOff() {
  file_.truncate(scan_.end);
  file_.sync();
}

void FrameLog::cutOffAfter(std::exception const& failure) {
  try {
    cutOff();
  } catch (std::exception const& second) {
    throw LostWriteError(
        std::string{failure.what()} + "; what was written of it could not be cut off: " + second.what(), false);
  }
}

}  // namespace casebook
