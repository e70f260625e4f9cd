#pragma once

#include <array>
#include <cstdint>

/// Each workload registers its lines, in the file of its name.
namespace casebook::bench {

constexpr std::array<std::uint64_t, 2> tableSizes{10'000, 100'000};

void registerMemory();
void registerSetValue();
void registerOneCellTransaction();
void registerAddRecord();
void registerUndo();
void registerTags();
void registerOpenFile();
void registerExpressions();
void registerStatistics();

}  // namespace casebook::bench
