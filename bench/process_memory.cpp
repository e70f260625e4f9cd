#include "process_memory.h"

#include <malloc.h>

#include <fstream>
#include <string>

namespace casebook::bench {

namespace {

/// A line of /proc/self/status that is told in kB, in bytes.
double status(std::string const& name) {
  std::ifstream file{"/proc/self/status"};
  for (std::string word; file >> word;)
    if (double kilobytes = 0; word == name && file >> kilobytes) return kilobytes * 1024;
  return 0;
}

}  // namespace

double residentBytes() {
  malloc_trim(0);
  return status("VmRSS:");
}

double heapBytes() {
  auto const heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd);
}

void PeakMemory::restart() const {
  malloc_trim(0);
  std::ofstream{"/proc/self/clear_refs"} << "5";
}

double PeakMemory::megabytes() const { return (status("VmHWM:") - before_) / 1e6; }

}  // namespace casebook::bench
