// Columns of every size and content, beside statistics in ordered containers.

#include "derived/index_builder.h"
#include "derived/kept_index.h"
#include "derived/variable_statistics.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace casebook {
namespace {

using Column = std::vector<Variant>;
using Random = std::mt19937_64;

struct Content {
  char const* name;
  Variant (*value)(Random&);
};

double fraction(Random& random) { return std::uniform_real_distribution{}(random); }
Variant whole(u64 word) { return Variant::ofWord(word, Variant::UnsignedInteger); }
Variant bits(u64 word) { return Variant::ofWord(word, Variant::FloatingPoint); }

/// Texts with bytes of every value, that begin alike and end anywhere.
Variant text(Random& random, std::size_t sameBytes) {
  std::string text(sameBytes, '/');
  for (u64 left = random() % 12; left > 0; --left) text += static_cast<char>("\0a\x7f\xff"[random() % 4]);
  return text;
}

/// One of few texts, each of which has two storages that many values share.
Variant sharedText(Random& random) {
  static auto const texts = [] {
    Column all;
    for (int k = 0; k < 40; ++k) all.emplace_back(k % 20 == 0 ? "" : "centre " + std::to_string(k % 20));
    return all;
  }();
  return texts[random() % texts.size()];
}

constexpr Content contents[] = {
    {"nulls", [](Random&) { return Variant{}; }},
    {"numbers, few", [](Random& r) { return r() % 50 == 0 ? Variant{} : Variant{static_cast<double>(r() % 100)}; }},
    {"numbers, just few enough", [](Random& r) { return Variant{static_cast<double>(r() % FewValues::most)}; }},
    {"numbers, distinct", [](Random& r) { return r() % 50 == 0 ? Variant{} : Variant{100.0 * fraction(r)}; }},
    {"numbers, of any bits", [](Random& r) { return bits(r()); }},
    {"numbers, close to each other but one",
     [](Random& r) { return Variant{r() % 2000 == 0 ? -1e300 : 1.0 + 1e-9 * fraction(r)}; }},
    {"zeros", [](Random& r) { return Variant{r() % 2 == 0 ? -0.0 : 0.0}; }},
    {"whole numbers", [](Random& r) { return whole(r() >> r() % 64); }},
    {"texts, few", [](Random& r) { return Variant{"centre " + std::to_string(r() % 20)}; }},
    {"texts, few and shared", sharedText},
    {"texts, distinct", [](Random& r) { return r() % 50 == 0 ? "none" : Variant{"note " + std::to_string(r())}; }},
    {"texts, distinct beside a long one",
     [](Random& r) {
       static Variant const longOne{std::string(200, 'n')};
       return r() % 3 != 0 ? longOne : Variant{std::string(190, 'n') + std::to_string(r())};
     }},
    {"texts, odd", [](Random& r) { return text(r, 0); }},
    {"texts, long and alike", [](Random& r) { return text(r, 100 + r() % 2 * 7); }},
    {"everything",
     [](Random& r) -> Variant {
       switch (r() % 5) {
         case 0: return {};
         case 1: return Variant::nan();
         case 2: return whole(r() % 3000);
         case 3: return static_cast<double>(r() % 3000);
         default: return text(r, r() % 3);
       }
     }},
};

/// How case identifiers lie in the rows.
constexpr Content identifiers[] = {
    {"ascending", nullptr},
    {"in any order", [](Random& r) { return whole(r()); }},
    {"shared by rows", [](Random& r) { return whole(r() % 500); }},
    {"not even numbers", [](Random& r) { return r() % 3 == 0 ? Variant{"x"} : Variant{1000.0 * fraction(r)}; }},
};

Column makeColumn(Content const& content, std::size_t rows, Random& random) {
  Column column(rows);
  for (std::size_t row = 0; row < rows; ++row) column[row] = content.value ? content.value(random) : whole(10 * row);
  return column;
}

using Cases = std::map<Variant, std::set<u64>>;

Cases recount(Column const& column, Column const& ids) {
  Cases cases;
  for (std::size_t row = 0; row < column.size(); ++row) cases[column[row]].insert(ids[row].longValue());
  return cases;
}

/// Of a ValueIndex or a KeptIndex.
template <class Index>
void expectSame(Index& index, Column const& found, Cases const& cases) {
  Column distinct;
  for (auto const& [value, ids] : cases) {
    if (value != Variant{} && value != Variant::nan()) distinct.push_back(value);
    ASSERT_EQ(index.caseIds(value), ids);
    ASSERT_EQ(index.count(value), ids.size());
  }
  ASSERT_EQ(found, distinct);
  for (std::size_t i = 0; i < found.size(); ++i) ASSERT_EQ(found[i].word(), distinct[i].word());  // -0.0 equals 0.0
  for (auto const& absent : {Variant{0.123}, whole(77'777'777), Variant{"absent"}})
    ASSERT_EQ(index.caseIds(absent).empty(), !cases.contains(absent));
}

TEST(ValueIndex, HoldsWhatOrderedContainersWould) {
  Random random{20'240'229};
  for (auto const& identifier : identifiers)
    for (std::size_t const rows : {0U, 1U, 2U, 40U, 300U, 2'000U, 12'000U}) {
      auto const ids = makeColumn(identifier, rows, random);
      CaseOrder const order{ids};
      IndexBuilder builder;
      for (auto const& content : contents) {
        SCOPED_TRACE(std::string{content.name} + ", identifiers " + identifier.name + ", " + std::to_string(rows));
        auto const column = makeColumn(content, rows, random);
        auto const index = builder.build(column, order);
        expectSame(index, index.values().all(), recount(column, ids));
        if (HasFatalFailure()) return;
      }
    }
}

/// One that a random half of the column's rows, rather the first, is given.
void change(Column& column, KeptIndex& kept, Content const& content, Random& random) {
  for (auto left = random() % (2 * column.size()); left > 0; --left) {
    auto& cell = column[random() % (1 + random() % column.size())];
    auto now = content.value(random);
    kept.change(static_cast<std::uint32_t>(&cell - column.data()), cell, now);
    cell = std::move(now);
    if (random() % 100 == 0) (void)kept.count(cell);
  }
  kept.settleZero(column);
}

TEST(KeptIndex, IsThatOfTheColumnAfterAnyChanges) {
  Random random{1};
  auto const ids = makeColumn(identifiers[0], 12'000, random);
  CaseOrder const order{ids};
  for (auto const& content : contents) {
    SCOPED_TRACE(content.name);
    auto column = makeColumn(content, ids.size(), random);
    KeptIndex kept;
    IndexFolder folder;
    kept.assign(IndexBuilder{}.build(column, order), column);
    for (bool const fold : {false, false, true, true, false}) {
      change(column, kept, content, random);
      if (fold) kept.fold(folder);
      expectSame(kept, kept.values(), recount(column, ids));
      if (HasFatalFailure()) return;
    }
  }
}

/// A store of columns, the first of which are the case identifiers.
struct Columns {
  Store store;

  explicit Columns(std::vector<Column> columns) {
    for (auto& column : columns) {
      DataVariable variable{store.assignUid()};
      variable.values = std::move(column);
      store.variables.insert(std::move(variable));
    }
    store.caseId = &store.variables.at(1);
  }
};

TEST(VariableStatistics, AreTheSameFromManyThreads) {
  Random random{1};
  std::vector<Column> columns;
  columns.push_back(makeColumn(identifiers[2], 3'000, random));
  for (auto const& content : contents) columns.push_back(makeColumn(content, 3'000, random));
  Columns const table{columns};
  VariableStatistics rebuilt{table.store};
  rebuilt.recompute();
  for (u64 variable = 1; variable <= columns.size(); ++variable) {
    auto const cases = recount(columns[variable - 1], columns.front());
    for (auto const& [value, ids] : cases) ASSERT_EQ(rebuilt.caseIDs(variable, value), ids);
  }
}

}  // namespace
}  // namespace casebook
