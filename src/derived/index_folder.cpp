#include "derived/index_folder.h"

#include <algorithm>

namespace casebook {

namespace {

using Ranks = std::span<std::uint32_t const>;
using Changes = std::span<CaseChange const>;

/// One index on its way into runs.
class Folding {
 public:
  Folding(ValueIndex& index, std::size_t changes, ValueIndex::Runs& runs)
      : index_{index}, known_{index.values()}, runs_{runs}, oneEach_{index.hasOneCaseEach()} {
    auto const [firstText, lastText] = known_.ofKind(ValueKind::Text);
    if (firstText != lastText) runs.values.reserveTexts(lastText - firstText + changes);
    runs.values.setZeroNegative(known_.zero().word() != 0);
  }

  [[nodiscard]] std::size_t putMissing(Variant const& value, Changes changes) {
    auto const before = runs_.ranks.size();
    putRanks(index_.ranksOf(value), changes);
    return runs_.ranks.size() - before;
  }

  /// The changes of one value, higher than that of the last call.
  void putValue(Changes changes) {
    auto const& value = changes.front().value;
    auto const place = known_.placeOf(value, copied_);
    copyTo(place);
    bool const isKnown = known_.holds(value, place);
    auto const before = runs_.ranks.size();
    putRanks(isKnown ? index_.ranksOfValue(place) : Ranks{}, changes);
    if (isKnown) ++copied_;
    if (runs_.ranks.size() == before) return;
    if (oneEach_ && runs_.ranks.size() - before != 1) tellEnds(before);
    runs_.values.append(value);
    if (!oneEach_) runs_.ends.push_back(static_cast<std::uint32_t>(runs_.ranks.size()));
  }

  void finish(std::size_t nulls, std::size_t nans) {
    copyTo(known_.size());
    runs_.nulls = nulls;
    runs_.nans = nans;
    index_.assign(runs_, index_.allCaseIds());
  }

 private:
  /// The values before this place as they are.
  void copyTo(std::size_t place) {
    auto const begin = index_.beginOf(copied_);
    auto const ranks = index_.allRanks().subspan(begin, index_.beginOf(place) - begin);
    auto const shift = static_cast<std::uint32_t>(runs_.ranks.size() - begin);
    runs_.ranks.insert(runs_.ranks.end(), ranks.begin(), ranks.end());
    runs_.values.append(std::move(known_), copied_, place);
    for (; copied_ < place && !oneEach_; ++copied_)
      runs_.ends.push_back(static_cast<std::uint32_t>(index_.beginOf(copied_ + 1)) + shift);
    copied_ = place;
  }

  void putRanks(Ranks ranks, Changes changes) {
    auto& to = runs_.ranks;
    auto rank = ranks.begin();
    for (auto const& change : changes) {
      auto const end = std::lower_bound(rank, ranks.end(), change.rank);
      to.insert(to.end(), rank, end);
      rank = end;
      if (change.sign > 0) to.push_back(change.rank);
      else ++rank;
    }
    to.insert(to.end(), rank, ranks.end());
  }

  /// Of the values so far, each of which has one case, up to this rank.
  void tellEnds(std::size_t end) {
    oneEach_ = false;
    for (auto place = end - runs_.values.size(); place < end;)
      runs_.ends.push_back(static_cast<std::uint32_t>(++place));
  }

  ValueIndex& index_;
  DistinctValues& known_;
  ValueIndex::Runs& runs_;
  std::size_t copied_ = 0;
  bool oneEach_;
};

}  // namespace

void IndexFolder::fold(ValueIndex& index, ChangeRun const& changes) {
  runs_.clear();
  Folding folding{index, changes.all().size(), runs_};
  auto const nulls = folding.putMissing({}, changes.of({}));
  auto const nans = folding.putMissing(Variant::nan(), changes.of(Variant::nan()));
  for (auto rest = changes.all(); !rest.empty();) {
    auto const same = leadingValue(rest);
    if (!isMissing(same.front().value)) folding.putValue(same);
    rest = rest.subspan(same.size());
  }
  folding.finish(nulls, nans);
}

}  // namespace casebook
