#pragma once

namespace casebook {

/// Runs what is done about a failure, and says whether it succeeded: the exception that passes is the first one.
template <class Call>
bool attempt(Call const& call) noexcept {
  try {
    call();
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace casebook
