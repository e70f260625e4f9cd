#include "support/allocations.h"

#include <algorithm>
#include <cstdlib>

namespace casebook::test {

thread_local constinit long allocationsLeft = -1;
thread_local constinit std::size_t largestAllocation = 0;

namespace {

void* allocate(std::size_t size) {
  largestAllocation = std::max(largestAllocation, size);
  if (allocationsLeft == 0) throw std::bad_alloc{};
  if (allocationsLeft > 0) --allocationsLeft;
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc{};
}

}  // namespace
}  // namespace casebook::test

// Those of arrays and the others of the standard library end in these.
void* operator new(std::size_t size) { return casebook::test::allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
