#include "transactions/signals.h"

namespace casebook {

class Connection::Link {
 public:
  Link(boost::signals2::connection connection, std::shared_ptr<u64> slots)
      : connection_{std::move(connection)}, slots_{std::move(slots)} {}

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
  Connection connection{std::make_shared<Connection::Link>(signal_.connect(std::move(slot)), slots_)};
  ++*slots_;
  return connection;
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
