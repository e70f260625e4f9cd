#pragma once

#include <exception>

namespace casebook {

/// Runs steps that must all run, whatever the others throw, and keeps the first exception.
class FirstError {
 public:
  /// Whether the step returned.
  template <class Step>
  bool guard(Step&& step) noexcept {
    try {
      step();
      return true;
    } catch (...) {
      if (!error_) error_ = std::current_exception();
      return false;
    }
  }

  void rethrow() const {
    if (error_) std::rethrow_exception(error_);
  }

 private:
  std::exception_ptr error_;
};

}  // namespace casebook
