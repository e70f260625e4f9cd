#pragma once

#include <casebook/export.h>

#include <memory>
#include <utility>

namespace casebook {

/// A slot's connection to one of a project's signals. Copies mean the same connection; letting go of them leaves
/// the slot connected. It may outlive the project.
class CASEBOOK_EXPORT Connection {
 public:
  class Link;

  Connection() noexcept = default;
  explicit Connection(std::shared_ptr<Link> link) noexcept : link_{std::move(link)} {}

  /// The slot is not called again, not even later in an emission that is under way.
  void disconnect() noexcept;

  /// False once dropped, and after the project was cleared or destroyed.
  [[nodiscard]] bool connected() const noexcept;

 private:
  std::shared_ptr<Link> link_;
};

/// A connection that is dropped with its owner.
class ScopedConnection {
 public:
  ScopedConnection() noexcept = default;
  ScopedConnection(Connection connection) noexcept : connection_{std::move(connection)} {}
  ScopedConnection(ScopedConnection&& other) noexcept : connection_{std::exchange(other.connection_, {})} {}
  ScopedConnection& operator=(ScopedConnection&& other) noexcept {
    if (this != &other) {
      connection_.disconnect();
      connection_ = std::exchange(other.connection_, {});
    }
    return *this;
  }
  ~ScopedConnection() { connection_.disconnect(); }

  void disconnect() noexcept { connection_.disconnect(); }
  [[nodiscard]] bool connected() const noexcept { return connection_.connected(); }

 private:
  Connection connection_;
};

}  // namespace casebook
