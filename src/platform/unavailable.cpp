#include "platform/unavailable.h"

#include <casebook/exception_base.h>

namespace casebook {

void refuseUnavailable(std::string_view operation) {
  throw varnel::ExceptionBase{std::string{operation} + " is not available in this version.", true};
}

}  // namespace casebook
