#pragma once

#include <casebook/variant.h>

#include <array>
#include <string_view>
#include <vector>

namespace casebook {

/// Keys that have the order of texts, of as many of their first bytes as go into 64 bits. Where few letters stand at a
/// place, as digits do, it takes no more of a key than is needed to tell these. Keeps its memory.
class TextKeys {
 public:
  void clear() noexcept;
  /// All texts are added before the first key is asked for.
  void add(std::string_view text);
  /// Finds out what the letters weigh.
  void weigh() noexcept;

  /// Of the text that was added at this place.
  [[nodiscard]] u64 of(std::size_t place) const noexcept;
  /// How many bytes the keys tell. Texts of equal keys are shorter and equal, or agree in these.
  [[nodiscard]] std::size_t bytes() const noexcept { return bytes_; }
  /// Whether any two keys differ.
  [[nodiscard]] bool differ() const noexcept { return differ_; }

 private:
  static constexpr std::size_t most = 23;

  /// What may be told of a text.
  struct Beginning {
    std::array<unsigned char, most> bytes;
    std::uint8_t size;
  };

  template <class Of>
  using PerLetter = std::array<std::array<Of, 256>, most>;

  /// How many letters stand at a place of the texts, the end of a text among them.
  [[nodiscard]] u64 lettersAt(std::size_t place) const noexcept;

  std::vector<Beginning> beginnings_;
  PerLetter<bool> stands_{};
  std::array<bool, most + 1> ends_{};  // whether a text ends at a place
  PerLetter<u64> weights_;
  std::size_t bytes_ = 0;
  bool differ_ = false;
};

}  // namespace casebook
