#pragma once

#include <nlohmann/json_fwd.hpp>

#include <span>
#include <string>
#include <string_view>

namespace casebook::cli {

/// A text in JSON: a string, or {"hex": "c3"} with the bytes of a text that is not UTF-8, which no string of JSON
/// can hold.
[[nodiscard]] nlohmann::ordered_json jsonText(std::string_view text);

/// An array of them.
[[nodiscard]] nlohmann::ordered_json jsonTexts(std::span<std::string const> texts);

}  // namespace casebook::cli
