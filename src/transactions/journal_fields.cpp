#include <casebook/exception_base.h>
#include <casebook/journal.h>

#include "transactions/payload.h"

namespace casebook::Journal {

namespace {

/// Reads a payload and keeps each field with its name.
class FieldLister {
 public:
  explicit FieldLister(SimpleDeserializer& in) : reader_{in} {}

  template <class T>
  void operator()(std::string_view name, T& field) {
    reader_(name, field);
    if constexpr (PlainNumber<T>) fields_.push_back({name, static_cast<u64>(field)});
    else fields_.push_back({name, std::move(field)});
  }

  std::vector<Field> take() { return std::move(fields_); }

 private:
  PayloadReader reader_;
  std::vector<Field> fields_;
};

}  // namespace

std::vector<Field> fields(Command const& command) {
  SimpleDeserializer in{command.payload.data(), command.payload.size()};
  return visitPayloadType(command.code, [&in]<class Payload>() {
    FieldLister lister{in};
    Payload payload;
    describe(lister, payload);
    return lister.take();
  });
}

bool isChangeItem(std::uint32_t code) noexcept {
  try {
    return visitPayloadType(code, []<class Payload>() { return std::is_same_v<Payload, ChangeItem>; });
  } catch (varnel::ExceptionBase const&) {
    return false;
  }
}

}  // namespace casebook::Journal
