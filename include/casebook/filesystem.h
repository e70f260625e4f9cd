#pragma once

#include <casebook/export.h>

#include <set>
#include <string>
#include <string_view>

namespace casebook {

/// Orders texts as if the letters A to Z were small; all other bytes count as they are.
struct CASEBOOK_EXPORT CaseInsensitiveCompare {
  [[nodiscard]] bool operator()(std::string_view a, std::string_view b) const noexcept;
};

/// File extensions, such as ".png".
using FileExtensions = std::set<std::string, CaseInsensitiveCompare>;

/// Whether the name of the file, which is what follows the last '/' or '\' of the path, ends with one of the entries,
/// in capital or small letters. In an entry `?` stands for any one character and `*` for any run of them, so that
/// ".png" and "*.png" mean the same. The empty entry matches every file.
[[nodiscard]] CASEBOOK_EXPORT bool fileMatchesWildcards(std::string const& path, FileExtensions const& entries);

}  // namespace casebook
