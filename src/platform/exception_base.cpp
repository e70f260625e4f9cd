#include <casebook/exception_base.h>

namespace varnel {

ExceptionBase::ExceptionBase(std::string const& message, bool flag) : std::runtime_error{message}, flag_{flag} {}

// Out of line, so that the type has one home and is caught across libraries.
ExceptionBase::~ExceptionBase() = default;

}  // namespace varnel
