#include "frame_scan.h"

#include <algorithm>

namespace casebook {

namespace {

using format::FrameHead;

bool isKnown(std::uint32_t kind) noexcept {
  switch (FrameKind{kind}) {
    case FrameKind::Transaction:
    case FrameKind::Checkpoint:
    case FrameKind::Undo:
    case FrameKind::Redo: return true;
  }
  return false;
}

/// What the check of the frame at `offset` should be; its body must lie within the file.
std::uint32_t computeCheck(FileWindow& file, u64 offset, FrameHead const& head) {
  u64 const begin = offset + FrameHead::size;
  u64 const end = begin + head.bodyLength() - FrameHead::checkSize;
  auto check = head.seed();
  for (u64 at = begin; at < end;) {
    auto const bytes = file.at(at, static_cast<std::size_t>(std::min<u64>(end - at, FileWindow::reach)));
    check = format::check(bytes, check);
    at += bytes.size();
  }
  return check;
}

std::uint32_t storedCheck(FileWindow& file, u64 offset, FrameHead const& head) {
  auto const at = offset + FrameHead::size + head.bodyLength() - FrameHead::checkSize;
  return format::readCheck(file.at(at, FrameHead::checkSize).first<FrameHead::checkSize>());
}

/// The walk of one file. `offset_` is where the next frame should begin; `write_` holds the places of the frames of the
/// write that has begun and is not whole yet.
class Walk {
 public:
  Walk(FileWindow& file, std::uint32_t headerCheck, std::filesystem::path const& name)
      : file_{file}, fileCheck_{headerCheck}, name_{name}, offset_{format::FileHeader::size} {
    found_.end = offset_;
    found_.check = check_ = headerCheck;
  }

  FrameScan run() && {
    while (offset_ < file_.length() && !found_.damage && step()) continue;
    if (!found_.frames.empty() && !lastIsWhole() && !goodHeadFrom(endBeforeLast_ + 1, firstOfLast_)) dropLast();
    return std::move(found_);
  }

 private:
  struct Place {
    u64 offset = 0;
    FrameHead head;
  };

  // Takes the next frame; false when there is none to take.
  bool step() {
    auto const head = FrameHead::decode(file_.at(offset_, FrameHead::size));
    if (head && !follows(*head)) return damaged(misplaced(*head));
    if (!head || !head->bodyFits(file_.length() - offset_ - FrameHead::size)) {
      bool const later = goodHeadFrom(offset_ + 1, found_.frames.size() + 1);
      return later && damaged("a frame is broken, and whole ones follow");
    }
    if (!isKnown(head->kind)) refuseKind(*head);
    take(*head);
    return true;
  }

  bool damaged(std::string what) {
    found_.damage = FrameScan::Damage{offset_, std::move(what)};
    return false;
  }

  [[nodiscard]] u64 nextSequence() const noexcept { return found_.frames.size() + write_.size() + 1; }

  [[nodiscard]] bool follows(FrameHead const& head) {
    return head.file == fileCheck_ && head.sequence == nextSequence() && head.part == write_.size() &&
           head.part < head.parts && (write_.empty() || head.parts == write_.front().head.parts) && chains(head);
  }

  // Behind a frame that is broken itself there is nothing to compare with: whoever reads that frame finds out.
  [[nodiscard]] bool chains(FrameHead const& head) {
    return head.previous == check_ || (last_ && computeCheck(file_, last_->offset, last_->head) != check_);
  }

  [[nodiscard]] std::string misplaced(FrameHead const& head) const {
    if (head.file != fileCheck_) return "a frame of another file";
    if (head.sequence == nextSequence()) return "a frame that does not continue the one before it";
    return "frame " + std::to_string(head.sequence) + " in place of frame " + std::to_string(nextSequence());
  }

  // Looks at every place, for no length behind a bad one can be trusted. Heads of the write that begins with frame
  // `except` do not count.
  bool goodHeadFrom(u64 at, u64 except) {
    while (at < file_.length()) {
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
      if (head && head->file == fileCheck_ && head->firstOfWrite() != except) return true;
      ++at;
    }
    return false;
  }

  [[noreturn]] void refuseKind(FrameHead const& head) const {
    throw varnel::ExceptionBase(name_.string() + " holds a frame of kind " + std::to_string(head.kind) + " (frame " +
                                    std::to_string(head.sequence) + " at byte " + std::to_string(offset_) +
                                    "), which this program cannot read.",
                                false);
  }

  void take(FrameHead const& head) {
    last_ = Place{offset_, head};
    write_.push_back(*last_);
    check_ = storedCheck(file_, offset_, head);
    offset_ += FrameHead::size + head.bodyLength();
    if (write_.size() == head.parts) finishWrite();
  }

  void finishWrite() {
    endBeforeLast_ = found_.end;
    checkBeforeLast_ = found_.check;
    firstOfLast_ = found_.frames.size() + 1;
    for (auto const& place : write_) found_.frames.push_back(frameAt(place));
    write_.clear();
    found_.end = offset_;
    found_.check = check_;
  }

  Frame frameAt(Place const& place) {
    auto const& head = place.head;
    return {.offset = place.offset,
            .sequence = head.sequence,
            .kind = FrameKind{head.kind},
            .argument = head.argument,
            .blockLength = head.blockLength,
            .label = text(place.offset + FrameHead::size, head.labelLength),
            .when = decltype(Frame::when){std::chrono::milliseconds{head.when}}};
  }

  std::string text(u64 offset, std::size_t length) {
    std::string characters(length, '\0');
    file_.read(offset, std::span{reinterpret_cast<unsigned char*>(characters.data()), length});
    return characters;
  }

  [[nodiscard]] bool lastIsWhole() {
    return std::all_of(found_.frames.begin() + static_cast<std::ptrdiff_t>(firstOfLast_ - 1), found_.frames.end(),
                       [&](Frame const& frame) {
                         auto const head = FrameHead::decode(file_.at(frame.offset, FrameHead::size));
                         return head &&
                                storedCheck(file_, frame.offset, *head) == computeCheck(file_, frame.offset, *head);
                       });
  }

  // It was cut off: what stands behind it, damaged or not, is of no write that was acknowledged.
  void dropLast() {
    found_.frames.resize(static_cast<std::size_t>(firstOfLast_ - 1));
    found_.end = endBeforeLast_;
    found_.check = checkBeforeLast_;
    found_.damage.reset();
  }

  FileWindow& file_;
  std::uint32_t fileCheck_;
  std::filesystem::path const& name_;
  u64 offset_;
  std::uint32_t check_;
  std::optional<Place> last_;  // the frame that was taken last
  std::vector<Place> write_;
  u64 firstOfLast_ = 0;  // sequence number of the first frame of the last whole write
  u64 endBeforeLast_ = 0;
  std::uint32_t checkBeforeLast_ = 0;
  FrameScan found_;
};

}  // namespace

FrameScan scanFrames(FileWindow& file, std::uint32_t headerCheck, std::filesystem::path const& name) {
  return Walk{file, headerCheck, name}.run();
}

DamageError damageAt(std::filesystem::path const& name, u64 offset, std::string_view what) {
  return {name.string() + " is damaged at byte " + std::to_string(offset) + ": " + std::string{what} + '.', offset};
}

DamageError damagedFrame(std::filesystem::path const& name, Frame const& frame, std::string_view what) {
  return damageAt(name, frame.offset, "frame " + std::to_string(frame.sequence) + ", " + std::string{what});
}

namespace {

format::Bytes bytesOf(std::string_view text) {
  return {reinterpret_cast<unsigned char const*>(text.data()), text.size()};
}

}  // namespace

std::vector<unsigned char> readBlock(FileWindow& file, Frame const& frame, std::filesystem::path const& name) {
  auto const begin = frame.offset + FrameHead::size;
  auto const head = FrameHead::decode(file.at(frame.offset, FrameHead::size));
  if (head && head->sequence == frame.sequence && head->blockLength == frame.blockLength &&
      head->labelLength == frame.label.size() && head->bodyFits(file.length() - begin)) {
    auto const check = format::check(bytesOf(frame.label), head->seed());
    std::vector<unsigned char> block(static_cast<std::size_t>(head->blockLength));
    file.read(begin + head->labelLength, block);
    if (format::check(block, check) == storedCheck(file, frame.offset, *head)) return block;
  }
  throw damageAt(name, frame.offset, "a frame that was whole is broken");
}

}  // namespace casebook
