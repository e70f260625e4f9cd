#include "frame_scan.h"

#include <algorithm>
#include <iterator>

namespace casebook {

namespace {

using format::FrameHead;

std::string kindName(std::uint32_t kind) {
  switch (kind) {
    case 2: return "a checkpoint";
    case 3: return "an undo";
    case 4: return "a redo";
    default: return "a frame of kind " + std::to_string(kind);
  }
}

/// The walk of one file. `offset_` is where the next frame should begin; `write_` holds the frames of the write
/// that has begun and is not whole yet.
class Walk {
 public:
  Walk(FileWindow& file, std::uint32_t headerCheck, std::filesystem::path const& name)
      : file_{file}, fileCheck_{headerCheck}, name_{name}, offset_{format::FileHeader::size} {
    found_.end = offset_;
    found_.check = check_ = headerCheck;
  }

  FrameScan run() && {
    while (offset_ < file_.length() && !found_.damage && step()) continue;
    return std::move(found_);
  }

 private:
  // Takes the next frame; false when there is none to take.
  bool step() {
    auto const head = FrameHead::decode(file_.at(offset_, FrameHead::size));
    if (head && !follows(*head)) return damaged(misplaced(*head));
    if (!head || !readBody(*head)) {
      return laterWriteBehind() ? damaged("a frame is broken, and whole ones follow") : false;
    }
    if (head->kind != static_cast<std::uint32_t>(FrameKind::Transaction)) refuseKind(*head);
    take(*head);
    return true;
  }

  bool damaged(std::string what) {
    found_.damage = FrameScan::Damage{offset_, std::move(what)};
    return false;
  }

  [[nodiscard]] u64 nextSequence() const noexcept { return found_.frames.size() + write_.size() + 1; }

  [[nodiscard]] bool follows(FrameHead const& head) const noexcept {
    return head.file == fileCheck_ && head.previous == check_ && head.sequence == nextSequence() &&
           head.part == write_.size() && head.part < head.parts && (write_.empty() || head.parts == parts_);
  }

  [[nodiscard]] std::string misplaced(FrameHead const& head) const {
    if (head.file != fileCheck_) return "a frame of another file";
    if (head.sequence == nextSequence()) return "a frame that does not continue the one before it";
    return "frame " + std::to_string(head.sequence) + " in place of frame " + std::to_string(nextSequence());
  }

  // False when the body is not whole.
  bool readBody(FrameHead const& head) {
    u64 const begin = offset_ + FrameHead::size;
    if (!head.bodyFits(file_.length() - begin)) return false;
    u64 const end = begin + head.bodyLength() - FrameHead::checkSize;
    label_ = text(begin, head.labelLength);
    bodyCheck_ = head.seed();
    for (u64 at = begin; at < end;) {
      auto const bytes = file_.at(at, static_cast<std::size_t>(std::min<u64>(end - at, FileWindow::reach)));
      bodyCheck_ = format::check(bytes, bodyCheck_);
      at += bytes.size();
    }
    return format::readCheck(file_.at(end, FrameHead::checkSize).first<FrameHead::checkSize>()) == bodyCheck_;
  }

  // Looks at every place behind the bad one: no length that stands there can be trusted.
  bool laterWriteBehind() {
    u64 const first = found_.frames.size() + 1;
    for (u64 at = offset_ + 1; at < file_.length();) {
      auto const bytes = file_.at(at, FileWindow::reach);
      auto const hit = std::search(bytes.begin(), bytes.end(), FrameHead::magic.begin(), FrameHead::magic.end());
      auto const skipped = static_cast<u64>(hit - bytes.begin());
      if (hit == bytes.end()) {
        if (bytes.size() < FileWindow::reach) return false;
        at += skipped - (FrameHead::magic.size() - 1);
        continue;
      }
      at += skipped;
      auto const head = FrameHead::decode(file_.at(at, FrameHead::size));
      if (head && head->file == fileCheck_ && head->firstOfWrite() != first) return true;
      ++at;
    }
    return false;
  }

  [[noreturn]] void refuseKind(FrameHead const& head) const {
    throw varnel::ExceptionBase(name_.string() + " holds " + kindName(head.kind) + " (frame " +
                                    std::to_string(head.sequence) + " at byte " + std::to_string(offset_) +
                                    "), which this program cannot read.",
                                false);
  }

  void take(FrameHead const& head) {
    write_.push_back({.offset = offset_,
                      .sequence = head.sequence,
                      .kind = FrameKind{head.kind},
                      .blockLength = head.blockLength,
                      .label = std::move(label_),
                      .when = decltype(Frame::when){std::chrono::milliseconds{head.when}}});
    parts_ = head.parts;
    check_ = bodyCheck_;
    offset_ += FrameHead::size + head.bodyLength();
    if (write_.size() == parts_) finishWrite();
  }

  std::string text(u64 offset, std::size_t length) {
    std::vector<unsigned char> bytes(length);
    file_.read(offset, bytes);
    return {bytes.begin(), bytes.end()};
  }

  void finishWrite() {
    std::move(write_.begin(), write_.end(), std::back_inserter(found_.frames));
    write_.clear();
    found_.end = offset_;
    found_.check = check_;
  }

  FileWindow& file_;
  std::uint32_t fileCheck_;
  std::filesystem::path const& name_;
  u64 offset_;
  std::uint32_t check_;
  std::uint32_t bodyCheck_ = 0;  // of the frame read last, as its label
  std::string label_;
  std::uint32_t parts_ = 0;
  std::vector<Frame> write_;
  FrameScan found_;
};

}  // namespace

FrameScan scanFrames(FileWindow& file, std::uint32_t headerCheck, std::filesystem::path const& name) {
  return Walk{file, headerCheck, name}.run();
}

DamageError damageAt(std::filesystem::path const& name, u64 offset, std::string_view what) {
  return {name.string() + " is damaged at byte " + std::to_string(offset) + ": " + std::string{what} + '.', offset};
}

FrameBody::FrameBody(FileWindow& file, Frame const& frame, std::filesystem::path const& name) {
  auto const begin = frame.offset + FrameHead::size;
  auto const head = FrameHead::decode(file.at(frame.offset, FrameHead::size));
  auto const stands = head && head->sequence == frame.sequence && head->blockLength == frame.blockLength &&
                      head->bodyFits(file.length() - begin);
  if (stands) {
    bytes_.resize(static_cast<std::size_t>(head->bodyLength()));
    file.read(begin, bytes_);
    labelLength_ = head->labelLength;
    auto const body = std::span<unsigned char const>{bytes_}.first(bytes_.size() - FrameHead::checkSize);
    auto const stored = std::span<unsigned char const>{bytes_}.last<FrameHead::checkSize>();
    if (format::check(body, head->seed()) == format::readCheck(stored)) return;
  }
  throw damageAt(name, frame.offset, "a frame that was whole is broken");
}

}  // namespace casebook
