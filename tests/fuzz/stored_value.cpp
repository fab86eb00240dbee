// SPDX-License-Identifier: Apache-2.0
// What stands on the medium and in the run directory: a byte that chooses, then the bytes as they are found. Whatever
// reads as sound is what its writer would have written.
#include <boost/crc.hpp>

#include "platform/src/per/names.h"
#include "platform/src/per/record_codec.h"
#include "platform/src/per/store_summary.h"
#include "platform/src/per/usage_file.h"
#include "tests/fuzz/memory_file.h"

namespace {

using namespace linux_platform::per;
using fuzz::Bytes;
using fuzz::require;

void check_record(Bytes const& record) {
  for (char const* key : {"", "key"}) {
    auto const value = Record_codec::decode(key, record.data(), record.size());
    if (auto const* sound = std::get_if<ara::per::KvsType>(&value)) {
      require(Record_codec::encode(key, *sound) == record, "a sound record is what its writer would write");
      require(Record_codec::content_size(*sound) + Record_codec::header_size == record.size(), "sizes agree");
    }
  }
}

/// The record with the checksum that belongs to it, which no random change ever meets.
Bytes with_checksum(Bytes record) {
  if (record.size() >= Record_codec::header_size) {
    boost::crc_32_type crc;
    Bytes const length_and_key{3, 0, 0, 0, 0, 0, 0, 0, 'k', 'e', 'y'};
    crc.process_bytes(length_and_key.data(), length_and_key.size());
    crc.process_byte(record[0]);
    crc.process_bytes(record.data() + Record_codec::header_size, record.size() - Record_codec::header_size);
    for (unsigned i = 0; i < 4; ++i) {
      record[1 + i] = static_cast<std::uint8_t>(crc.checksum() >> (8U * i));
    }
  }
  return record;
}

void check_summary(Bytes record) {
  if (record.size() > 4) {
    boost::crc_32_type crc;
    crc.process_bytes(record.data(), record.size() - 4);
    for (unsigned i = 0; i < 4; ++i) {
      record[record.size() - 4 + i] = static_cast<std::uint8_t>(crc.checksum() >> (8U * i));
    }
  }
  if (auto const summary = Store_summary::decode(record.data(), record.size())) {
    require(summary->encode() == record && summary->store_id != 0, "a sound summary is what its writer would write");
  }
}

void check_counters(Bytes const& bytes) {
  fuzz::Memory_file const file(bytes.data(), bytes.size());
  if (auto const counters = Usage_file::load(file.descriptor())) {
    auto const words = counters->to_words();
    require(std::equal(bytes.begin(), bytes.end(), reinterpret_cast<std::uint8_t const*>(words.data())),
            "sound counters are what their writer would write");
    require(counters->total().write >= counters->run.write, "no count wraps");
    require(counters->session().write <= counters->run.write, "a session is a part of what ran");
  }
}

void check_name(std::string const& text) {
  require(unescape(escape(text)) == text, "a name survives as a file name");
  auto const name = unescape(text);
  require(!name || escape(*name) == text, "one name has one file name");
  require(fuzz::is_one_plain_line(printable(text)), "a name can be printed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  fuzz::Input input(data, size);
  unsigned const choice = input.u8() % 4;
  auto const bytes = input.rest();
  switch (choice) {
    case 0:
      check_record(bytes);
      check_record(with_checksum(bytes));
      break;
    case 1:
      check_summary(bytes);
      break;
    case 2:
      check_counters(bytes);
      break;
    default:
      check_name({bytes.begin(), bytes.end()});
      break;
  }
  return 0;
}
