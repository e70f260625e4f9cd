#pragma once

#include <casebook/connection.h>
#include <casebook/journal.h>
#include <casebook/transaction_record.h>

#include "platform/first_error.h"

#include <boost/signals2/signal.hpp>

#include <functional>
#include <memory>

namespace casebook {

/// Calls every slot, whatever the others throw, then throws the first exception: one slot's failure must not keep a
/// block of the journal from another that stores it.
struct CallEverySlot {
  using result_type = void;

  template <class Slot>
  void operator()(Slot slot, Slot end) const {
    FirstError error;
    for (; slot != end; ++slot) error.guard([&] { *slot; });
    error.rethrow();
  }
};

/// One signal. Counts its slots, because every change to the table asks whether the journal has any.
template <class... Arguments>
class Signal {
 public:
  Connection connect(std::function<void(Arguments...)> slot);
  [[nodiscard]] bool connected() const noexcept { return *slots_ != 0; }
  void operator()(Arguments... arguments) const {
    if (connected()) signal_(arguments...);
  }

 private:
  boost::signals2::signal<void(Arguments...), CallEverySlot> signal_;
  std::shared_ptr<u64> slots_ = std::make_shared<u64>(0);
};

/// The four signals, and whether one of them is being emitted.
class Signals {
 public:
  Signal<TransactionRecord const&> changePre;
  Signal<TransactionRecord const&> change;
  Signal<Journal::TransactionWriter&> journal;
  Signal<> reset;

  void emitChange(TransactionRecord const& record);
  void emitJournal(Journal::TransactionWriter& block);
  void emitReset();

  [[nodiscard]] bool emitting() const noexcept { return emitting_; }

 private:
  bool emitting_ = false;
};

}  // namespace casebook
