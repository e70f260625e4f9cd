#pragma once

#include "file_window.h"
#include "frame_format.h"

#include <casebook/file.h>

#include <optional>
#include <string>
#include <vector>

namespace casebook {

/// What a file holds, as its checks tell.
struct FrameScan {
  struct Damage {
    u64 offset = 0;
    std::string what;
  };

  std::vector<Frame> frames;     ///< of the whole writes before the end or the first bad place
  u64 end = 0;                   ///< behind the last of them
  std::uint32_t check = 0;       ///< of the last of them, of the header when there is none
  std::optional<Damage> damage;  ///< else what follows `end` is an incomplete tail
};

/// Walks a file from its header, whose check is `headerCheck`, to its end. Where a frame should begin stands
///
///   what                                         a later write behind it   then
///   a whole frame that follows the last          either                    taken, with the whole of its write
///   a good head that does not follow the last    either                    damage: no torn write looks like this
///   anything else, or nothing                    yes                       damage: the write was whole once
///                                                no                        an incomplete tail
///
/// A later write is any good head of this file that does not belong to the write that should begin or continue
/// here. Throws for a whole frame of a kind that is not known.
[[nodiscard]] FrameScan scanFrames(FileWindow& file, std::uint32_t headerCheck, std::filesystem::path const& name);

/// "<name> is damaged at byte <offset>: <what>."
[[nodiscard]] DamageError damageAt(std::filesystem::path const& name, u64 offset, std::string_view what);

/// Label and block of a frame.
class FrameBody {
 public:
  /// Reads the frame that `frame` describes. Throws DamageError when it does not stand there whole.
  FrameBody(FileWindow& file, Frame const& frame, std::filesystem::path const& name);

  [[nodiscard]] std::span<unsigned char const> block() const noexcept {
    return std::span{bytes_}.subspan(labelLength_, bytes_.size() - labelLength_ - format::FrameHead::checkSize);
  }

 private:
  std::vector<unsigned char> bytes_;
  std::size_t labelLength_ = 0;
};

}  // namespace casebook
