#pragma once

#include "store/change_sink.h"
#include "transactions/change_log.h"
#include "transactions/payload.h"
#include "transactions/signals.h"
#include "transactions/stale_tags.h"
#include "transactions/variable_changes.h"

namespace casebook {

/// Hears of every change: keeps it in the log and, while the journal signal has a slot, as a command in the open
/// block; notes what it makes stale.
class Recorder : public ChangeSink {
 public:
  /// All are borrowed.
  Recorder(ChangeLog& log, Signals const& signals, StaleTags& staleTags, VariableChanges& variableChanges)
      : log_{log}, signals_{signals}, staleTags_{staleTags}, variableChanges_{variableChanges} {}

  void take(Change const& change) override;
  void take(CellChange const& change) override;

  [[nodiscard]] bool journalling() const noexcept { return signals_.journal.connected(); }
  [[nodiscard]] OpenBlock& block() noexcept { return block_; }

  /// While it lives nothing is kept or journalled: the state comes from stored blocks, and nobody is to be told.
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
  StaleTags& staleTags_;
  VariableChanges& variableChanges_;
  OpenBlock block_;
  bool muted_ = false;
};

}  // namespace casebook
