// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/store_summary.h"

#include <boost/crc.hpp>

#include "platform/src/per/little_endian.h"

namespace linux_platform::per {
namespace {

/// FNV-1a, 64 bits (draft-eastlake-fnv): two keys of one length that differ in one byte never have the same hash.
std::uint64_t hash(std::string_view key) noexcept {
  std::uint64_t value = 0xCBF29CE484222325ULL;
  for (char const c : key) {
    value = (value ^ static_cast<unsigned char>(c)) * 0x100000001B3ULL;
  }
  return value;
}

std::uint32_t crc_of(std::uint8_t const* data, std::size_t size) {
  boost::crc_32_type crc;
  crc.process_bytes(data, size);
  return crc.checksum();
}

constexpr std::size_t crc_size = 4;

}  // namespace

void Store_summary::add_key(std::string_view key) noexcept {
  ++keys;
  digest += hash(key);
}

void Store_summary::remove_key(std::string_view key) noexcept {
  --keys;
  digest -= hash(key);
}

std::vector<std::uint8_t> Store_summary::encode() const {
  std::vector<std::uint8_t> record;
  Little_endian_writer writer(record);
  for (auto const member : {store_id, total.read, total.write, total.setvalue, keys, digest}) {
    writer.u64(member);
  }
  writer.u32(crc_of(record.data(), record.size()));
  return record;
}

std::optional<Store_summary> Store_summary::decode(std::uint8_t const* record, std::size_t size) {
  Little_endian_reader reader(record, size);
  Store_summary summary;
  for (auto* const member : {&summary.store_id, &summary.total.read, &summary.total.write, &summary.total.setvalue,
                             &summary.keys, &summary.digest}) {
    *member = reader.u64();
  }
  auto const crc = reader.u32();
  if (!reader.exhausted() || summary.store_id == 0 || crc != crc_of(record, size - crc_size)) {
    return std::nullopt;
  }
  return summary;
}

}  // namespace linux_platform::per
