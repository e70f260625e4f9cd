#pragma once

#include "platform/parallel.h"

namespace casebook {

/// The number of threads that a pool has by itself.
[[nodiscard]] std::size_t defaultThreadCount();

/// Runs task(0) to task(count - 1), which must not throw, on a pool of `threads` threads that are made for it. These
/// can be started: a pool may wait for ever for one that could not. Built on Qt, or, where a sanitizer would not see
/// what Qt's locks protect, on the standard library.
void runOnPool(std::size_t threads, std::size_t count, NumberedTask const& task);

}  // namespace casebook
