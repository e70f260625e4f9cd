#pragma once

#include "peer.h"

/// The workloads, each in the file of its name.
namespace casebook::bench {

[[nodiscard]] std::vector<Workload> oneCell();
[[nodiscard]] std::vector<Workload> oneRecord();
[[nodiscard]] std::vector<Workload> writes();
[[nodiscard]] std::vector<Workload> statistics();
[[nodiscard]] std::vector<Workload> merges();
[[nodiscard]] std::vector<Workload> deletion();
[[nodiscard]] std::vector<Workload> expressions();
[[nodiscard]] std::vector<Workload> tags();
[[nodiscard]] std::vector<Workload> openFile();
[[nodiscard]] std::vector<Workload> memory();

}  // namespace casebook::bench
