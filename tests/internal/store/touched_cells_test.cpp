// A reader copies the table now and then. Later the copy and what was touched since must agree with the table.

#include "project/components.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <random>

namespace casebook {
namespace {

using Column = std::vector<Variant>;
using Random = std::mt19937_64;

bool same(std::span<Variant const> a, std::span<Variant const> b) {
  return std::ranges::equal(a, b, &Variant::isIdentical);
}

class Reader {
 public:
  explicit Reader(Store const& store) : store_{store} { look(); }

  void look() {
    seenAt_ = store_.touched.now();
    records_ = store_.recordOfRow;
    seen_.clear();
    for (auto const& variable : store_.variables.all()) seen_[variable.id] = variable.values;
  }

  void check() {
    auto const rows = store_.touched.rowsSince(seenAt_, records_.size());
    if (!rows) return void(++moved);
    followed += store_.touched.movedAt() > seenAt_;
    auto const recordAt = [&](std::size_t k) { return rows->gone[k].record; };
    EXPECT_EQ(asSeen(*rows, store_.recordOfRow, recordAt), records_);
    for (auto const& [uid, column] : seen_) checkColumn(*rows, uid, column);
    for (auto const& variable : store_.variables.all())
      EXPECT_TRUE(seen_.contains(variable.id) || store_.touched.variables().contains(variable.id));
  }

  int moved = 0;
  int followed = 0;
  int whole = 0;
  int listed = 0;
  int untouched = 0;

 private:
  /// What a list held for each row, from what it holds now and what it held for those that went.
  template <class T>
  std::vector<T> asSeen(RowChanges const& rows, std::vector<T> list, auto const& goneAt) {
    for (auto row = list.size(); row-- > 0;)
      if (rows.isNew(row)) list.erase(list.begin() + static_cast<std::ptrdiff_t>(row));
    for (std::size_t k = 0; k < rows.gone.size(); ++k)
      list.insert(list.begin() + std::min<std::ptrdiff_t>(rows.gone[k].row, std::ssize(list)), goneAt(k));
    return list;
  }

  void checkColumn(RowChanges const& rows, u64 uid, Column const& column) {
    auto const* const variable = store_.variables.find(uid);
    bool const named = store_.touched.variables().contains(uid);
    auto const since = variable ? variable->touched.since(seenAt_) : std::nullopt;
    EXPECT_TRUE(named || (since && since->empty()));
    if (variable && !since) ++whole;
    if (!since) return;
    EXPECT_TRUE(since->empty() || variable->touched.changedAt() > seenAt_);
    ++(since->empty() ? untouched : listed);
    auto then = variable->values;
    for (std::size_t i = since->size(); i-- > 0;) then[(*since)[i].row] = (*since)[i].before;
    auto const goneAt = [&](std::size_t k) { return variable->touched.gone()[rows.gone[k].place]; };
    EXPECT_TRUE(same(asSeen(rows, then, goneAt), column));
  }

  Store const& store_;
  u64 seenAt_ = 0;
  std::vector<u64> records_;
  std::map<u64, Column> seen_;
};

template <class Map>
auto& pick(Map& map, Random& random) {
  return *std::next(map.all().begin(), static_cast<std::ptrdiff_t>(random() % map.size()));
}

class Edits {
 public:
  explicit Edits(Components& parts) : parts_{parts} {}

  void make(Random& random) {
    auto& table = parts_.table;
    auto const kind = random() % 1000;
    if (kind < 4) return erase(parts_.store, parts_.recorder, variable(random));
    if (kind < 10) return void(table.addVariable({}));
    if (kind < 30) return changeRecords(random);
    if (kind < 100) return void(table.addRecord());
    if (kind < 110) return table.makeStatic(variable(random), Column(table.rowCount(), Variant{1.0}));
    if (kind < 115) return table.makeCalculated(variable(random));
    table.setCell(variable(random), parts_.store.rowOf(pick(parts_.store.records, random).id),
                  std::array{Variant{}, Variant{0.0}, Variant{-0.0}, Variant{"text"}}[random() % 4]);
  }

 private:
  /// One of those that are always there or came.
  DataVariable& variable(Random& random) {
    auto& variable = pick(parts_.store.variables, random);
    return &variable == parts_.store.caseId ? parts_.table.addVariable({}) : variable;
  }

  /// Few, of which some may be such as came or were written since anybody looked; now and then many.
  void changeRecords(Random& random) {
    auto& records = parts_.store.records;
    for (auto left = random() % 20 == 0 ? 40 : random() % 5; left > 0; --left) {
      bool const isBack = !gone_.empty() && random() % 2 == 0;
      auto const uid = isBack ? gone_[random() % gone_.size()] : pick(records, random).id;
      Column const row(parts_.store.variables.size(), Variant{static_cast<double>(random() % 10)});
      if (records.size() > 1 && records.find(uid)) parts_.table.removeRecord(records.at(uid));
      else if (!records.find(uid)) parts_.table.insertRecord(uid, row);
      if (!isBack) gone_.push_back(uid);
    }
    parts_.table.settleRows();
  }

  Components& parts_;
  std::vector<u64> gone_;  // once
};

TEST(TouchedCells, TellWhatReadersHaveMissed) {
  Random random{20'240'229};
  Components parts{[](u64, std::string const&) {}, Merge::Makers{}};
  for (int i = 0; i < 600; ++i) parts.table.addRecord();
  parts.table.addVariable({});
  parts.store.touched.settle(parts.store.variables);
  Edits edits{parts};
  std::array readers{Reader{parts.store}, Reader{parts.store}};
  for (int step = 0; step < 1'000; ++step) {
    for (auto left = random() % 40; left > 0; --left) edits.make(random);
    for (auto& reader : readers) {
      reader.check();
      if (HasFailure()) return;
      if (random() % 3 == 0) reader.look();
    }
    if (random() % 4 != 0) continue;
    for (auto& reader : readers) reader.look();
    parts.store.touched.settle(parts.store.variables);
    if (step % 100 == 0) parts.table.restart(), parts.table.addRecord();
  }
  for (auto const& reader : readers)
    for (int const count : {reader.moved, reader.followed, reader.whole, reader.listed, reader.untouched})
      EXPECT_GT(count, 50);
}

}  // namespace
}  // namespace casebook
