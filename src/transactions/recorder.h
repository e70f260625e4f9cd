#pragma once

#include "store/change_sink.h"
#include "transactions/change_log.h"
#include "transactions/payload.h"
#include "transactions/signals.h"

namespace casebook {

/// Hears of every change: keeps it in the log and, while the journal signal has a slot, as a command in the open
/// block.
class Recorder : public ChangeSink {
 public:
  /// Borrows the log and the signals.
  Recorder(ChangeLog& log, Signals const& signals) : log_{log}, signals_{signals} {}

  void take(Change const& change) override;

  [[nodiscard]] bool journalling() const noexcept { return signals_.journal.connected(); }
  [[nodiscard]] OpenBlock& block() noexcept { return block_; }

  /// While it lives the recorder hears of nothing: the state comes from stored blocks, and nobody is to be told.
  class Mute {
   public:
    explicit Mute(Recorder& recorder) noexcept : recorder_{recorder} { recorder_.muted_ = true; }
    Mute(Mute const&) = delete;
    Mute& operator=(Mute const&) = delete;
    ~Mute() { recorder_.muted_ = false; }

   private:
    Recorder& recorder_;
  };

 private:
  void record(PropertyChange const& change);
  void record(CellChange const& change);
  void record(StatusChange const& change);
  template <class Entity>
  void record(Creation<Entity> const& change);
  void record(RecordInsertion const& change);
  template <class Entity>
  void record(Erasure<Entity> const& change);
  void record(RecordErasure const& change);
  void record(MadeStatic const& change);
  void record(MadeCalculated const& change);

  template <class Payload>
  void journal(std::uint32_t code, Payload const& payload);

  ChangeLog& log_;
  Signals const& signals_;
  OpenBlock block_;
  SimpleSerializer scratch_;
  bool muted_ = false;
};

}  // namespace casebook
