#include "transactions/signals.h"

#include <casebook/exception_base.h>

namespace casebook {

class Connection::Link {
 public:
  explicit Link(std::shared_ptr<u64> slots) : slots_{std::move(slots)} {}

  void hold(boost::signals2::connection connection) noexcept {
    connection_.swap(connection);
    ++*slots_;
  }
  void disconnect() {
    if (!connection_.connected()) return;
    connection_.disconnect();
    --*slots_;
  }
  [[nodiscard]] bool connected() const { return connection_.connected(); }

 private:
  boost::signals2::connection connection_;
  std::shared_ptr<u64> slots_;
};

void Connection::disconnect() noexcept {
  if (link_) link_->disconnect();
}

bool Connection::connected() const noexcept { return link_ && link_->connected(); }

template <class... Arguments>
Connection Signal<Arguments...>::connect(std::function<void(Arguments...)> slot) {
  if (!slot) throw varnel::ExceptionBase{"A slot must be callable.", true};
  auto link = std::make_shared<Connection::Link>(slots_);
  link->hold(signal_.connect(std::move(slot)));
  return Connection{std::move(link)};
}

template class Signal<TransactionRecord const&>;
template class Signal<Journal::TransactionWriter&>;
template class Signal<>;

namespace {

/// Emissions do not nest: what a slot begins ends after the one that called it.
class Emission {
 public:
  explicit Emission(bool& emitting) : emitting_{emitting} { emitting_ = true; }
  Emission(Emission const&) = delete;
  Emission& operator=(Emission const&) = delete;
  ~Emission() { emitting_ = false; }

 private:
  bool& emitting_;
};

}  // namespace

void Signals::emitChange(TransactionRecord const& record) {
  Emission const emission{emitting_};
  changePre(record);
  change(record);
}

void Signals::emitJournal(Journal::TransactionWriter& block) {
  Emission const emission{emitting_};
  journal(block);
}

void Signals::emitReset() {
  Emission const emission{emitting_};
  reset();
}

}  // namespace casebook
