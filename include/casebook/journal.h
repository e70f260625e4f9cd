#pragma once

#include <casebook/exception_base.h>
#include <casebook/export.h>
#include <casebook/journal_codes.h>
#include <casebook/variant.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// Blocks of the journal. Each outermost transaction that wrote a command gives one block to the journal signal; a
/// host stores it and gives it back to Project::processJournalTransaction. All integers are little-endian.
///
///   block   = length:u64  crc:u32  command*     length counts the whole block; crc is the CRC-32 (ISO-HDLC) of what
///                                               follows the 12 bytes of head, 0 when there is nothing
///   command = length:u64  code:u32  payload     length counts the whole command
namespace casebook::Journal {

using Bytes = std::span<unsigned char const>;

/// The way in which a stored block is replayed: forwards is redo, anything else undo.
enum class Direction : std::uint32_t { Forwards = 0, Backwards = 1 };

/// One command of a block. It borrows the block's bytes.
struct Command {
  std::uint32_t code = 0;
  Bytes payload;
};

/// Bytes that are appended to. What is appended is unset, and many bytes grow without being copied where the system
/// can move them.
class CASEBOOK_EXPORT GrowingBytes {
 public:
  GrowingBytes() noexcept = default;
  GrowingBytes(GrowingBytes const&) = delete;
  GrowingBytes& operator=(GrowingBytes const&) = delete;
  ~GrowingBytes() { release(); }

  [[nodiscard]] unsigned char* data() noexcept { return data_; }
  [[nodiscard]] unsigned char const* data() const noexcept { return data_; }
  [[nodiscard]] std::size_t size() const noexcept { return size_; }
  [[nodiscard]] std::size_t capacity() const noexcept { return capacity_; }

  /// Where the `n` new bytes begin. Throws std::bad_alloc, and nothing has changed.
  unsigned char* append(std::size_t n) {
    if (n > capacity_ - size_) grow(n);
    return data_ + std::exchange(size_, size_ + n);
  }
  /// Drops what is behind the first `size` bytes.
  void truncate(std::size_t size) noexcept { size_ = size; }
  /// Gives the memory back.
  void release() noexcept;
  void swap(GrowingBytes& other) noexcept;

 private:
  void grow(std::size_t n);

  unsigned char* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

/// The block of the transaction that is ending, as a slot of the journal signal receives it.
class CASEBOOK_EXPORT TransactionWriter {
 public:
  static constexpr std::size_t headerSize = 12;

  TransactionWriter();

  /// The block as it stands: the head is zero until `finalize`. Valid until the slot returns.
  [[nodiscard]] Bytes bytes() const noexcept { return {bytes_.data(), bytes_.size()}; }
  [[nodiscard]] u64 size() const noexcept { return bytes_.size(); }

  /// Writes length and CRC into the head and returns the whole block, valid until the slot returns. Several slots
  /// may call it, with one result.
  Bytes finalize() noexcept;

 protected:
  GrowingBytes bytes_;
};

/// A stored block: the bytes that begin at `offset` of `bytes`, which it borrows.
class CASEBOOK_EXPORT Transaction {
 public:
  Transaction(Bytes bytes, u64 offset) noexcept : bytes_{bytes}, offset_{offset} {}

  /// Whether the head and the length that it claims lie within the bytes, the length is at least that of the head,
  /// and the CRC is right (a block without commands has none).
  [[nodiscard]] bool valid() const noexcept;

  /// The length that the head claims, 0 when the bytes hold no whole head.
  [[nodiscard]] u64 length() const noexcept;

  /// What the bytes hold of the block: no more than its head claims.
  [[nodiscard]] Bytes bytes() const noexcept;

  /// The complete commands in order, up to the first that does not lie whole within the block and the bytes. Does not
  /// ask for the CRC.
  [[nodiscard]] std::vector<Command> commands() const;

 private:
  Bytes bytes_;
  u64 offset_;
};

/// A block does not fit the state that those before it gave. The message is "Block <number> cannot be restored: <why>",
/// the flag true.
class CASEBOOK_EXPORT RestoreError : public varnel::ExceptionBase {
 public:
  RestoreError(u64 number, std::string reason);
  ~RestoreError() override;

  [[nodiscard]] u64 number() const noexcept { return number_; }  ///< 1 for the first block
  [[nodiscard]] std::string const& reason() const noexcept { return reason_; }

 private:
  u64 number_;
  std::string reason_;
};

/// The state of a whole project; see Project::checkpoint.
struct Checkpoint {
  std::vector<unsigned char> block;  ///< finalized
  u64 nextUid = 0;                   ///< what the UID counter stands at
};

/// A field of a command's payload, in the order in which it is stored. A number is an identifier, a count of rows or
/// an enumeration; what it is follows from the name.
struct Field {
  using Value =
      std::variant<u64, std::string, Variant, std::vector<Variant>, std::vector<u64>, std::vector<std::string>>;

  std::string_view name;
  Value value;
};

/// The fields of a command:
///
///   change items        oldValue newValue index uid
///   CellSet             oldValue newValue record variable
///   VariableCreated     uid name description expression values defaultValue nature dataType variableType
///   VariableMadeStatic  uid values
///   RecordCreated       uid auxFiles
///   RecordInserted      uid auxFiles row
///   AuxFileCreated      uid path tag record
///   VariableRegexCreated, PathRegexCreated   uid expression target
///   TagGroupCreated     uid name tags
///
/// and the same with Inverse. Throws varnel::ExceptionBase("Unknown journal command.", true) for another code, and
/// ("Attempt to read beyond end of data block.", true) for a payload that is too short, and
/// ("Unknown type of value in a journal command.", true).
CASEBOOK_EXPORT std::vector<Field> fields(Command const& command);

/// Whether commands of this code, with or without Inverse, carry a change item.
CASEBOOK_EXPORT bool isChangeItem(std::uint32_t code) noexcept;

}  // namespace casebook::Journal
