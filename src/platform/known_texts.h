#pragma once

#include <casebook/variant.h>

#include <array>
#include <memory>
#include <string_view>

namespace casebook {

/// Lets equal texts share their storage: remembers some of the short texts that it met last, as many as a column of
/// codes or answers has. Where texts hardly ever return it forgets them and mostly stops looking.
class KnownTexts {
 public:
  KnownTexts() = default;
  // What is copied begins to learn anew.
  KnownTexts(KnownTexts const&) noexcept : KnownTexts{} {}
  KnownTexts(KnownTexts&&) noexcept = default;
  KnownTexts& operator=(KnownTexts const&) = delete;
  KnownTexts& operator=(KnownTexts&&) noexcept = default;
  ~KnownTexts() = default;

  /// The value, with the storage of an equal text where one is known. The reference lasts until the next call.
  [[nodiscard]] Variant const& shared(Variant const& value) noexcept {
    return value.type() == Variant::String ? sharedText(value) : value;
  }
  /// A value of this text.
  [[nodiscard]] Variant of(std::string_view text);

 private:
  static constexpr std::size_t slots = 256;
  static constexpr std::size_t longest = 64;
  static constexpr int mostCredit = 512;
  static constexpr int firstPause = 64;
  static constexpr int pause = 8192;

  using Slots = std::array<Variant, slots>;

  [[nodiscard]] Variant const& sharedText(Variant const& value) noexcept;
  /// Where the text is, or is to be; null when it is not worth a look.
  [[nodiscard]] Variant* slotOf(std::string_view text) noexcept;
  [[nodiscard]] bool isWorthALook(std::string_view text) noexcept;
  void gain() noexcept;
  void lose() noexcept;

  std::unique_ptr<Slots> known_;
  int credit_ = -firstPause;  // gained by texts that return, lost by others; below 0 texts are passed over
};

}  // namespace casebook
