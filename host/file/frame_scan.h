#pragma once

#include "file_window.h"
#include "frame_format.h"

#include <casebook/file.h>

#include <optional>
#include <string>
#include <vector>

namespace casebook {

/// What a file holds, as the checks of its heads tell.
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

/// Walks a file from its header, whose check is `headerCheck`, to its end, head by head: who reads a frame's block
/// checks it then. Only the blocks of the last write are checked here, for it may have been cut off. Where a frame
/// should begin stands
///
///   what                                         a later write behind it   then
///   a good head that follows the last frame      yes                       taken, with the whole of its write
///                                                no                        taken if the blocks of its write are whole
///   a good head that does not follow the last    either                    damage: no torn write looks like this
///   anything else, or nothing                    yes                       damage: the write was whole once
///                                                no                        an incomplete tail
///
/// A later write is any good head of this file that does not belong to the write that should begin or continue
/// here. Throws for a frame of a kind that is not known.
[[nodiscard]] FrameScan scanFrames(FileWindow& file, std::uint32_t headerCheck, std::filesystem::path const& name);

/// "<name> is damaged at byte <offset>: <what>."
[[nodiscard]] DamageError damageAt(std::filesystem::path const& name, u64 offset, std::string_view what);

/// The same, of a frame: "frame <sequence>, <what>".
[[nodiscard]] DamageError damagedFrame(std::filesystem::path const& name, Frame const& frame, std::string_view what);

/// The block of the frame that `frame` describes. Throws DamageError when the frame does not stand there whole.
[[nodiscard]] std::vector<unsigned char> readBlock(FileWindow& file, Frame const& frame,
                                                   std::filesystem::path const& name);

}  // namespace casebook
