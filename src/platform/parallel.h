#pragma once

#include <cstddef>
#include <functional>

namespace casebook {

/// One of several tasks, by its number.
using NumberedTask = std::function<void(std::size_t)>;

/// Runs task(0) to task(count - 1), each of them whatever the others throw, then throws again what was thrown first.
void runInTurn(std::size_t count, NumberedTask const& task);

/// The same on as many threads as the machine runs at once, in any order, so that the task must bear to be called from
/// several threads; all have ended when it returns. On the calling thread when fewer than two threads can be started.
/// Starting threads takes some 0.1 ms.
void runInParallel(std::size_t count, NumberedTask const& task);

}  // namespace casebook
