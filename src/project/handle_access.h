#pragma once

#include <casebook/weak_ptr.h>

namespace casebook {

/// The door to the constructors that a handle keeps for the project.
struct HandleAccess {
  /// Raises the entity's count. A TagGroup asks for a record of this UID, and is made only where there is one.
  template <class Handle>
  static Handle make(u64 uid) {
    return Handle{uid};
  }
};

}  // namespace casebook
