#include <casebook/filesystem.h>

#include "platform/letters.h"
#include "platform/wildcard.h"

#include <algorithm>

namespace casebook {

namespace {

std::string_view nameOf(std::string_view path) noexcept {
  auto const name = std::find_if(path.rbegin(), path.rend(), [](char c) { return c == '/' || c == '\\'; }).base();
  return {name, path.end()};
}

}  // namespace

bool CaseInsensitiveCompare::operator()(std::string_view a, std::string_view b) const noexcept {
  return std::ranges::lexicographical_compare(a, b, {}, toSmallLetter, toSmallLetter);
}

bool fileMatchesWildcards(std::string const& path, FileExtensions const& entries) {
  auto const name = nameOf(path);
  return std::ranges::any_of(entries, [&](auto const& entry) { return matchesWildcardInAnyCase(entry, name); });
}

}  // namespace casebook
