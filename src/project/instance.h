#pragma once

#include <casebook/project.h>

namespace casebook {

/// A project of which nobody has overridden anything.
struct Instance final : Project {};

}  // namespace casebook
