#include "console/progress.h"

#include <fmt/ostream.h>

namespace casebook::cli {

Progress::Progress(Console& console, std::string work)
    : console_{console}, work_{std::move(work)}, next_{Clock::now() + std::chrono::milliseconds{500}} {}

Progress::~Progress() {
  if (shown_) console_.err << "\r\033[K" << std::flush;
}

void Progress::operator()(std::uint64_t done, std::uint64_t total) {
  if (!console_.showProgress || total == 0) return;
  auto const now = Clock::now();
  if (now < next_) return;
  next_ = now + std::chrono::milliseconds{100};
  shown_ = true;
  double const percent = 100.0 * static_cast<double>(done) / static_cast<double>(total);
  fmt::print(console_.err, "\r{} {:3.0f} %\033[K", work_, percent);
  console_.err.flush();
}

}  // namespace casebook::cli
