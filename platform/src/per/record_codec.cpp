// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/record_codec.h"

#include <cstring>

#include <boost/crc.hpp>

#include "ara/per/exceptions.h"
#include "platform/src/per/kvs_type_access.h"
#include "platform/src/per/little_endian.h"
#include "platform/src/per/names.h"

namespace linux_platform::per {
namespace {

using ara::per::Kvs_type_access;
using ara::per::KvsType;
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t type_binary = 1;
constexpr std::uint8_t type_text = 2;
constexpr std::uint8_t type_signed = 3;
constexpr std::uint8_t type_unsigned = 4;
constexpr std::uint8_t type_floating_point = 5;
constexpr std::uint8_t type_boolean = 6;

static_assert(sizeof(double) == sizeof(std::uint64_t));

std::uint64_t bits_of(double value) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

double double_of(std::uint64_t bits) {
  double value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

std::int64_t signed_of(std::uint64_t bits) {
  std::int64_t value = 0;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

/// Type and content of a value, with room for the CRC between them.
class Encoder {
 public:
  explicit Encoder(std::string_view key) : key_(key) {}

  Bytes operator()(Bytes const& bytes) const { return raw(type_binary, bytes.data(), bytes.size()); }
  Bytes operator()(std::string const& text) const { return raw(type_text, text.data(), text.size()); }
  Bytes operator()(std::int64_t value) const { return word(type_signed, static_cast<std::uint64_t>(value)); }
  Bytes operator()(std::uint64_t value) const { return word(type_unsigned, value); }
  Bytes operator()(double value) const { return word(type_floating_point, bits_of(value)); }
  Bytes operator()(bool value) const {
    auto const byte = static_cast<std::uint8_t>(value ? 1 : 0);
    return raw(type_boolean, &byte, 1);
  }
  [[noreturn]] Bytes operator()(Kvs_type_access::Damage const& damage) const {
    throw ara::per::ExceptionLogicError("a damaged value cannot be set for key \"" + printable(key_) +
                                        "\": " + damage.finding);
  }

 private:
  static Bytes word(std::uint8_t type, std::uint64_t value) {
    Bytes content;
    Little_endian_writer(content).u64(value);
    return raw(type, content.data(), content.size());
  }
  static Bytes raw(std::uint8_t type, void const* data, std::size_t size) {
    Bytes record(Record_codec::header_size + size);
    record.front() = type;
    if (size != 0) {
      std::memcpy(record.data() + Record_codec::header_size, data, size);
    }
    return record;
  }

  std::string_view key_;
};

std::uint32_t crc_of(std::string_view key, std::uint8_t type, std::uint8_t const* content, std::size_t size) {
  Bytes length;
  Little_endian_writer(length).u64(key.size());
  boost::crc_32_type crc;
  crc.process_bytes(length.data(), length.size());
  crc.process_bytes(key.data(), key.size());
  crc.process_byte(type);
  crc.process_bytes(content, size);
  return crc.checksum();
}

std::optional<Kvs_type_access::Content> content_of(std::uint8_t type, std::uint8_t const* data, std::size_t size) {
  if (type == type_binary) {
    return Bytes(data, data + size);
  }
  if (type == type_text) {
    return std::string(data, data + size);
  }
  if (type == type_boolean) {
    return size == 1 && *data <= 1 ? std::optional<Kvs_type_access::Content>(*data == 1) : std::nullopt;
  }
  Little_endian_reader reader(data, size);
  auto const word = reader.u64();
  if (!reader.exhausted()) {
    return std::nullopt;
  }
  if (type == type_signed) {
    return signed_of(word);
  }
  if (type == type_unsigned) {
    return word;
  }
  return type == type_floating_point ? std::optional<Kvs_type_access::Content>(double_of(word)) : std::nullopt;
}

struct Size_of_content {
  std::size_t operator()(Bytes const& bytes) const noexcept { return bytes.size(); }
  std::size_t operator()(std::string const& text) const noexcept { return text.size(); }
  std::size_t operator()(std::int64_t) const noexcept { return 8; }
  std::size_t operator()(std::uint64_t) const noexcept { return 8; }
  std::size_t operator()(double) const noexcept { return 8; }
  std::size_t operator()(bool) const noexcept { return 1; }
  std::size_t operator()(Kvs_type_access::Damage const&) const noexcept { return 0; }
};

}  // namespace

Bytes Record_codec::encode(std::string_view key, KvsType const& value) {
  auto record = std::visit(Encoder(key), Kvs_type_access::content(value));
  auto const crc = crc_of(key, record.front(), record.data() + header_size, record.size() - header_size);
  for (unsigned i = 0; i < 4; ++i) {
    record[1 + i] = static_cast<std::uint8_t>(crc >> (8U * i));
  }
  return record;
}

std::variant<KvsType, std::string> Record_codec::decode(std::string_view key, std::uint8_t const* record,
                                                        std::size_t size) {
  if (size < header_size) {
    return "its record of " + std::to_string(size) + " bytes is too short";
  }
  auto const stored = Little_endian_reader(record + 1, 4).u32();
  auto const* const content = record + header_size;
  if (stored != crc_of(key, *record, content, size - header_size)) {
    return std::string("its checksum does not fit");
  }
  auto value = content_of(*record, content, size - header_size);
  if (!value) {
    return "its type " + std::to_string(*record) + " does not fit its " + std::to_string(size - header_size) + " bytes";
  }
  return Kvs_type_access::make(std::move(*value));
}

std::size_t Record_codec::content_size(KvsType const& value) {
  return std::visit(Size_of_content{}, Kvs_type_access::content(value));
}

}  // namespace linux_platform::per
