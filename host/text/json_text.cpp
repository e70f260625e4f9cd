#include "text/json_text.h"

#include "text/utf8.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace casebook::cli {

nlohmann::ordered_json jsonText(std::string_view text) {
  if (isUtf8(text)) return std::string{text};
  std::string hex;
  for (char c : text)
    fmt::format_to(std::back_inserter(hex), "{:02x}", static_cast<unsigned>(static_cast<unsigned char>(c)));
  return {{"hex", std::move(hex)}};
}

nlohmann::ordered_json jsonTexts(std::span<std::string const> texts) {
  auto list = nlohmann::ordered_json::array();
  for (std::string const& text : texts) list.push_back(jsonText(text));
  return list;
}

}  // namespace casebook::cli
