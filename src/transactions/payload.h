#pragma once

#include <casebook/journal_codes.h>
#include <casebook/transaction_record.h>

#include "serialization/number_format.h"
#include "store/change_sink.h"
#include "transactions/block_format.h"

#include <concepts>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <vector>

/// Payloads of commands, in the forms of number_format.h:
///
///   change item                     oldValue:value newValue:value index:u64 uid:u64
///   CellSet                         oldValue:value newValue:value record:u64 variable:u64
///   VariableCreated, -Erased        uid:u64 name:text description:text expression:text values:value-list
///                                   defaultValue:value nature:u32 dataType:u32 variableType:u32
///   VariableMadeStatic              uid:u64 values:value-list
///   RecordCreated                   uid:u64 auxFiles:uid-list
///   RecordInserted, -Erased         uid:u64 auxFiles:uid-list row:value-list
///   AuxFileCreated, -Erased         uid:u64 path:text tag:text record:u64
///   VariableRegexCreated, -Erased   uid:u64 expression:text target:u64
///   PathRegexCreated, -Erased       uid:u64 expression:text target:text
///   TagGroupCreated, -Erased        uid:u64 name:text tags:text-list
///
///   x-list = count:u64 x*
///
/// `describe` names the fields of each payload once; writing, reading and listing are archives that it is given to.
namespace casebook {

/// The payload of CellSet.
struct CellPayload {
  Variant oldValue;
  Variant newValue;
  u64 record = 0;
  u64 variable = 0;
};

/// The payload of VariableMadeStatic.
struct StaticVariablePayload {
  u64 uid = 0;
  std::vector<Variant> values;
};

/// The payload of RecordInserted.
struct RecordRowPayload {
  u64 uid = 0;
  std::vector<u64> auxFiles;
  std::vector<Variant> row;
};

template <class T, class Payload>
concept Describes = std::same_as<std::remove_const_t<T>, Payload>;

template <class Archive, Describes<ChangeItem> Item>
void describe(Archive& archive, Item& item) {
  archive("oldValue", item.oldValue);
  archive("newValue", item.newValue);
  archive("index", item.index);
  archive("uid", item.uid);
}

template <class Archive, Describes<CellPayload> Cell>
void describe(Archive& archive, Cell& cell) {
  archive("oldValue", cell.oldValue);
  archive("newValue", cell.newValue);
  archive("record", cell.record);
  archive("variable", cell.variable);
}

// The same from where the change is told. To gather these first in a payload would cost the write more than all of its
// bytes: what was just stored piece by piece is slow to be loaded in larger pieces.
template <class Archive, Describes<CellChange> Change>
void describe(Archive& archive, Change& change) {
  archive("oldValue", change.before);
  archive("newValue", change.after);
  archive("record", change.record);
  archive("variable", change.variable.id);
}

template <class Archive, Describes<DataVariable> Entity>
void describe(Archive& archive, Entity& variable) {
  archive("uid", variable.id);
  archive("name", variable.name);
  archive("description", variable.description);
  archive("expression", variable.expression);
  archive("values", variable.values);
  archive("defaultValue", variable.defaultValue);
  archive("nature", variable.nature);
  archive("dataType", variable.dataType);
  archive("variableType", variable.type);
}

template <class Archive, Describes<StaticVariablePayload> Column>
void describe(Archive& archive, Column& column) {
  archive("uid", column.uid);
  archive("values", column.values);
}

template <class Archive, Describes<DataRecord> Entity>
void describe(Archive& archive, Entity& record) {
  archive("uid", record.id);
  archive("auxFiles", record.auxFiles);
}

template <class Archive, Describes<RecordRowPayload> Row>
void describe(Archive& archive, Row& record) {
  archive("uid", record.uid);
  archive("auxFiles", record.auxFiles);
  archive("row", record.row);
}

template <class Archive, Describes<DataAuxFile> Entity>
void describe(Archive& archive, Entity& file) {
  archive("uid", file.id);
  archive("path", file.path);
  archive("tag", file.tag);
  archive("record", file.record);
}

template <class Archive, class Entity>
  requires Describes<Entity, DataVariableRegex> || Describes<Entity, DataPathRegex>
void describe(Archive& archive, Entity& rule) {
  archive("uid", rule.id);
  archive("expression", rule.expression);
  archive("target", rule.target);
}

template <class Archive, Describes<DataTagGroup> Entity>
void describe(Archive& archive, Entity& group) {
  archive("uid", group.id);
  archive("name", group.name);
  archive("tags", group.tags);
}

/// Counts the bytes of what is written.
struct ByteCount {
  u64 bytes = 0;

  void write(unsigned char const*, u64 n) noexcept { bytes += n; }
};

/// Writes to where there is room.
struct ByteCursor {
  unsigned char* place;

  void write(unsigned char const* data, u64 n) noexcept {
    if (n != 0) std::memcpy(place, data, n);
    place += n;
  }
};

/// Writes the fields behind each other.
template <class Out>
class PayloadWriter {
 public:
  explicit PayloadWriter(Out& out) : out_{out} {}

  template <class T>
  void operator()(std::string_view, T const& field) {
    write(field);
  }

 private:
  template <PlainNumber T>
  void write(T number) {
    writeNumber(out_, number);
  }
  void write(std::string const& text) { writeText(out_, text); }
  void write(Variant const& value) { writeValue(out_, value); }
  template <class T>
  void write(std::vector<T> const& list) {
    writeNumber(out_, static_cast<u64>(list.size()));
    for (auto const& element : list) write(element);
  }

  Out& out_;
};

/// Reads the fields as they were written; throws as SimpleDeserializer::read does when they end too early. Never
/// takes memory for elements that the bytes left cannot hold.
class PayloadReader {
 public:
  explicit PayloadReader(SimpleDeserializer& in) : in_{in} {}

  template <class T>
  void operator()(std::string_view, T& field) {
    read(field);
  }

 private:
  template <PlainNumber T>
  void read(T& number) {
    number = readNumber<T>(in_);
  }
  void read(std::string& text) { in_.handleString(text); }
  void read(Variant& value) { value = readValue(in_, texts_); }
  template <class T>
  void read(std::vector<T>& list) {
    list.clear();
    list.resize(readCount(std::same_as<T, Variant> ? leastValueSize : sizeof(u64)));
    for (auto& element : list) read(element);
  }

  u64 readCount(u64 leastElementSize);

  SimpleDeserializer& in_;
  KnownTexts texts_;
};

template <class Payload>
Payload readPayload(SimpleDeserializer& in) {
  Payload payload;
  PayloadReader reader{in};
  describe(reader, payload);
  return payload;
}

/// Appends a command with this payload to a block; when it throws the block is as it was.
template <class Payload>
void writeCommand(OpenBlock& block, std::uint32_t code, Payload const& payload) {
  auto const writeTo = [&payload](auto out) {
    PayloadWriter writer{out};
    describe(writer, payload);
    return out;
  };
  writeTo(ByteCursor{block.append(code, writeTo(ByteCount{}).bytes)});
}

/// Calls `visitor.template operator()<Payload>()` with the type of payload that commands of this code carry, with or
/// without Journal::Inverse. Throws ("Unknown journal command.", true) for a code that is not known.
template <class Visitor>
decltype(auto) visitPayloadType(std::uint32_t code, Visitor&& visitor);

[[noreturn]] void refuseUnknownCommand();

}  // namespace casebook

template <class Visitor>
decltype(auto) casebook::visitPayloadType(std::uint32_t code, Visitor&& visitor) {
  switch (static_cast<Journal::Code>(code & ~std::uint32_t{Journal::Inverse})) {
    case Journal::VariableCreated: return visitor.template operator()<DataVariable>();
    case Journal::CellSet: return visitor.template operator()<CellPayload>();
    case Journal::VariableMadeStatic: return visitor.template operator()<StaticVariablePayload>();
    case Journal::RecordCreated: return visitor.template operator()<DataRecord>();
    case Journal::RecordInserted: return visitor.template operator()<RecordRowPayload>();
    case Journal::AuxFileCreated: return visitor.template operator()<DataAuxFile>();
    case Journal::VariableRegexCreated: return visitor.template operator()<DataVariableRegex>();
    case Journal::PathRegexCreated: return visitor.template operator()<DataPathRegex>();
    case Journal::TagGroupCreated: return visitor.template operator()<DataTagGroup>();
    case Journal::FriendlyName:
    case Journal::Description:
    case Journal::RootPath:
    case Journal::VariableDataTypeSet:
    case Journal::VariableTypeSet:
    case Journal::VariableNatureSet:
    case Journal::VariableDescriptionSet:
    case Journal::VariableNameSet:
    case Journal::VariableExpressionSet:
    case Journal::VariableDefaultValueSet:
    case Journal::RecordStatusSet:
    case Journal::VariableRegexExpressionSet:
    case Journal::VariableRegexTargetSet:
    case Journal::PathRegexExpressionSet:
    case Journal::PathRegexTargetSet:
    case Journal::TagGroupNameSet:
    case Journal::TagAdded: return visitor.template operator()<ChangeItem>();
    case Journal::Inverse:
    case Journal::VariableErased:
    case Journal::RecordErased:
    case Journal::AuxFileErased:
    case Journal::VariableRegexErased:
    case Journal::PathRegexErased:
    case Journal::TagGroupErased:
    case Journal::TagRemoved: break;
  }
  refuseUnknownCommand();
}
