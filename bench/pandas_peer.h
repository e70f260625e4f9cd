#pragma once

#include "peer.h"
#include "study.h"

#include <string>

namespace casebook::bench {

/// A class of pandas_peer.py, made with the sheets that `sheets` gives.
[[nodiscard]] Contestant pandasContestant(std::string name, std::string lacks, std::string kind,
                                          std::function<std::vector<Sheet>(u64 records)> sheets);

}  // namespace casebook::bench
