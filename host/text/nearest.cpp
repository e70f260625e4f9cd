#include "text/nearest.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace casebook::cli {
namespace {

std::string lower(std::string_view text) {
  std::string out{text};
  std::ranges::transform(out, out.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return out;
}

/// How many bytes have to be inserted, removed, replaced or swapped with their neighbour.
std::size_t editDistance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> beforeLast;
  std::vector<std::size_t> last(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    row[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      row[j + 1] = std::min({last[j] + (a[i] == b[j] ? 0 : 1), row[j] + 1, last[j + 1] + 1});
      bool const isSwapped = i > 0 && j > 0 && a[i] == b[j - 1] && a[i - 1] == b[j];
      if (isSwapped) row[j + 1] = std::min(row[j + 1], beforeLast[j - 1] + 1);
    }
    beforeLast = std::exchange(last, row);
  }
  return last.back();
}

/// 0 for what differs in case alone; the length of `wanted` and more for what has nothing to do with it.
std::size_t strangeness(std::string_view wanted, std::string_view name) {
  constexpr std::size_t longest = 200;
  std::string const a = lower(wanted.substr(0, longest));
  std::string const b = lower(name.substr(0, longest));
  if (a.size() >= 3 && b.find(a) != std::string_view::npos) return 1;
  return editDistance(a, b);
}

}  // namespace

std::string nearest(std::string_view wanted, std::span<std::string const> names, NameWriter written) {
  constexpr std::size_t atMost = 3;
  std::vector<std::pair<std::size_t, std::size_t>> ranked;  // strangeness, place in `names`
  for (std::string const& name : names) ranked.emplace_back(strangeness(wanted, name), ranked.size());
  std::ranges::sort(ranked);

  std::size_t const limit = std::max<std::size_t>(1, wanted.size() / 3);
  std::vector<std::string> near;
  for (auto const& [distance, i] : ranked)
    if (distance <= limit && near.size() < atMost) near.push_back(written(names[i]));
  return near.empty() ? "" : fmt::format("Did you mean {}?", fmt::join(near, " or "));
}

std::string suggestion(std::string_view wanted, std::span<std::string const> names, NameWriter written) {
  std::string near = nearest(wanted, names, written);
  if (!near.empty()) return near;
  std::vector<std::string> some;
  for (std::string const& name : names.first(std::min<std::size_t>(names.size(), 8))) some.push_back(written(name));
  if (some.empty()) return {};
  bool const all = some.size() == names.size();
  return fmt::format("{} {}.", all ? "There are" : "Some of the names are", fmt::join(some, ", "));
}

}  // namespace casebook::cli
