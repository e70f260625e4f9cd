#include <casebook/exception_base.h>
#include <casebook/serializer.h>

#include <algorithm>
#include <cstring>

namespace casebook {

namespace {

constexpr u64 initialCapacity = 80;

[[noreturn]] void refuseShortData() { throw varnel::ExceptionBase{"Attempt to read beyond end of data block.", true}; }

void writeCount(SimpleSerializer& out, u64 count) {
  out.write(reinterpret_cast<unsigned char const*>(&count), sizeof count);
}

u64 readCount(SimpleDeserializer& in) {
  u64 count = 0;
  in.read(reinterpret_cast<unsigned char*>(&count), sizeof count);
  return count;
}

void transfer(SimpleSerializer& out, std::vector<std::string> const& texts) {
  writeCount(out, texts.size());
  for (auto const& text : texts) out.handleString(text);
}

void transfer(SimpleDeserializer& in, std::vector<std::string>& texts) {
  constexpr u64 leastTextSize = sizeof(u64);
  u64 const count = readCount(in);
  u64 const possible = std::min(count, in.remaining() / leastTextSize);
  texts.clear();
  texts.resize(possible);
  if (count > possible) refuseShortData();
  for (auto& text : texts) in.handleString(text);
}

}  // namespace

SimpleSerializer::SimpleSerializer() : buffer_{new unsigned char[initialCapacity]}, capacity_{initialCapacity} {}

SimpleSerializer::~SimpleSerializer() { delete[] buffer_; }

SimpleSerializer& SimpleSerializer::operator=(SimpleSerializer const& other) = default;

void SimpleSerializer::moveTo(u64 capacity) {
  auto* const block = new unsigned char[capacity];
  std::memcpy(block, buffer_, size_);
  delete[] buffer_;
  buffer_ = block;
  capacity_ = capacity;
  ++reallocations_;
}

void SimpleSerializer::reserve(u64 n) {
  if (n >= capacity_) moveTo(n);
}

void SimpleSerializer::write(unsigned char const* data, u64 n) {
  if (n == 0) return;
  if (n > capacity_ - size_) moveTo(2 * (size_ + n));
  std::memcpy(buffer_ + size_, data, n);
  size_ += n;
}

std::pair<unsigned char*, u64> SimpleSerializer::finalize() noexcept {
  if (size_ == 0) return {nullptr, 0};
  return {buffer_, std::exchange(size_, 0)};
}

void SimpleSerializer::handleString(std::string const& text) {
  writeCount(*this, text.size());
  write(reinterpret_cast<unsigned char const*>(text.data()), text.size());
}

void SimpleDeserializer::refuseRead() { refuseShortData(); }

void SimpleDeserializer::handleString(std::string& text) {
  u64 const count = readCount(*this);
  text.clear();
  text.resize(std::min(count, remaining()));
  if (count > remaining()) refuseRead();
  read(reinterpret_cast<unsigned char*>(text.data()), count);
}

template <class Archive>
void StringSerializer::serialize(Archive& archive) {
  archive.handleString(text_);
}

template <class Archive>
void VectorStringSerializer::serialize(Archive& archive) {
  transfer(archive, texts_);
}

template void StringSerializer::serialize(SimpleSerializer&);
template void StringSerializer::serialize(SimpleDeserializer&);
template void VectorStringSerializer::serialize(SimpleSerializer&);
template void VectorStringSerializer::serialize(SimpleDeserializer&);

}  // namespace casebook
