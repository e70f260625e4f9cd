#pragma once

#include <casebook/export.h>

#include <stdexcept>
#include <string>

namespace varnel {

/// What every refused operation throws. Each operation documents its message and its flag.
class CASEBOOK_EXPORT ExceptionBase : public std::runtime_error {
 public:
  ExceptionBase(std::string const& message, bool flag);
  ~ExceptionBase() override;

  /// The flag that goes with the message: false where the input of a person is refused, true elsewhere.
  [[nodiscard]] bool flag() const noexcept { return flag_; }

 private:
  bool flag_;
};

}  // namespace varnel
