#pragma once

#include <string_view>

namespace casebook {

/// Throws ("<operation> is not available in this version.", true).
[[noreturn]] void refuseUnavailable(std::string_view operation);

}  // namespace casebook
