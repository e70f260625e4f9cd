#pragma once

#include <cstddef>
#include <new>

/// A watch on the allocations of each thread.
namespace casebook::test {

/// Allocations that still succeed; none is counted while it is negative.
extern thread_local constinit long allocationsLeft;
/// The largest since it was last set.
extern thread_local constinit std::size_t largestAllocation;

/// Whether the call ran out of memory when only `count` allocations succeed.
template <class Call>
bool runsOut(long count, Call&& call) {
  struct Limit {
    explicit Limit(long most) { allocationsLeft = most; }
    ~Limit() { allocationsLeft = -1; }
  } const limit{count};
  try {
    call();
    return false;
  } catch (std::bad_alloc const&) {
    return true;
  }
}

}  // namespace casebook::test
