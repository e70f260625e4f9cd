#include "replay/checkpoint.h"

#include "store/property.h"
#include "store/table.h"
#include "transactions/payload.h"

namespace casebook {

namespace {

class CheckpointWriter {
 public:
  explicit CheckpointWriter(Store const& store) : store_{store} {}

  Journal::Checkpoint write() {
    for (std::size_t row = 0; row < store_.recordOfRow.size(); ++row) writeRecord(row);
    for (auto const& variable : store_.variables.all())
      if (&variable != store_.caseId) writeCreation(variable);
    auto caseId = Table::newCaseId();
    caseId.id = store_.caseId->id;
    writeDifferences(caseId, *store_.caseId);
    writeDifferences(ProjectTexts{}, store_.texts);
    writeAll(store_.auxFiles);
    writeAll(store_.tagGroups);
    writeAll(store_.variableRegexs);
    writeAll(store_.pathRegexs);
    auto const bytes = block_.finalize();
    return {{bytes.begin(), bytes.end()}, store_.nextUid};
  }

 private:
  template <class Payload>
  void command(std::uint32_t code, Payload const& payload) {
    writeCommand(block_, code, payload);
  }

  void writeRecord(std::size_t row) {
    command(Journal::RecordInserted, RecordRowPayload{store_.recordOfRow[row], {}, {store_.caseId->values[row]}});
  }

  template <class Entity>
  void writeCreation(Entity const& entity) {
    command(creationCode<Entity>, entity);
  }

  template <class Entity>
  void writeAll(EntityMap<Entity> const& map) {
    for (auto const& entity : map.all()) writeCreation(entity);
  }

  template <class Entity>
  void writeDifferences(Entity const& fresh, Entity const& present) {
    auto const write = [&](auto const& row) {
      auto const before = itemValue(fresh.*row.member);
      auto const after = itemValue(present.*row.member);
      if (before != after) command(row.code, ChangeItem{before, after, 0, present.id, row.code});
    };
    std::apply([&](auto const&... row) { (write(row), ...); }, properties::of<Entity>);
  }

  Store const& store_;
  OpenBlock block_;
};

}  // namespace

Journal::Checkpoint makeCheckpoint(Store const& store) { return CheckpointWriter{store}.write(); }

}  // namespace casebook
