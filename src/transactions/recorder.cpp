#include "transactions/recorder.h"

namespace casebook {

namespace {

template <class Entity>
constexpr std::uint32_t creationCode = 0;
template <>
constexpr std::uint32_t creationCode<DataVariable> = Journal::VariableCreated;
template <>
constexpr std::uint32_t creationCode<DataRecord> = Journal::RecordCreated;
template <>
constexpr std::uint32_t creationCode<DataAuxFile> = Journal::AuxFileCreated;
template <>
constexpr std::uint32_t creationCode<DataTagGroup> = Journal::TagGroupCreated;
template <>
constexpr std::uint32_t creationCode<DataVariableRegex> = Journal::VariableRegexCreated;
template <>
constexpr std::uint32_t creationCode<DataPathRegex> = Journal::PathRegexCreated;

}  // namespace

void Recorder::take(Change const& change) {
  std::visit([this](auto const& which) { record(which); }, change);
}

template <class Payload>
void Recorder::journal(std::uint32_t code, Payload const& payload) {
  if (!journalling()) return;
  scratch_.clear();
  writePayload(scratch_, payload);
  auto const [bytes, size] = scratch_.finalize();
  block_.append(code, {bytes, size});
}

void Recorder::record(PropertyChange const& change) {
  log_.keepItem(change, [this](ChangeItem const& item) { journal(item.code, item); });
}

void Recorder::record(CellChange const& change) {
  if (journalling())
    journal(Journal::CellSet, CellPayload{change.before, change.after, change.record.id, change.variable.id});
  log_.markValuesChanged();
}

void Recorder::record(StatusChange const& change) {
  record(PropertyChange{EntityKind::Record, change.record.id, Journal::RecordStatusSet, change.before, change.after});
  log_.markValuesChanged();
}

template <class Entity>
void Recorder::record(Creation<Entity> const& change) {
  auto& created = log_.created().of(kindOf<Entity>);
  auto const place = created.insert(created.end(), change.entity.id);
  try {
    journal(creationCode<Entity>, change.entity);
  } catch (...) {
    created.erase(place);
    throw;
  }
}

}  // namespace casebook
