// SPDX-License-Identifier: Apache-2.0
// What stands on the medium and in the run directory: a byte that chooses, then the bytes as they are found. Whatever
// reads as sound is what its writer would have written.
#include <array>

#include <boost/crc.hpp>

#include "platform/src/per/names.h"
#include "platform/src/per/record_codec.h"
#include "platform/src/per/store_summary.h"
#include "platform/src/per/usage_file.h"
#include "tests/fuzz/fuzz.h"

namespace {

using namespace linux_platform::per;
using fuzz::Bytes;
using fuzz::require;

void check_as_found(Bytes const& record) {
  for (char const* key : {"", "key"}) {
    auto const value = Record_codec::decode(key, record.data(), record.size());
    if (auto const* sound = std::get_if<ara::per::KvsType>(&value)) {
      require(Record_codec::encode(key, *sound) == record, "a sound record is what its writer would write");
      require(Record_codec::content_size(*sound) + Record_codec::header_size == record.size(), "sizes agree");
    }
  }
}

/// Puts the checksum of these parts, which no random change ever meets, to where it stands.
void put_checksum(Bytes& record, std::size_t place, std::initializer_list<Bytes> parts) {
  boost::crc_32_type crc;
  for (auto const& part : parts) {
    crc.process_bytes(part.data(), part.size());
  }
  for (unsigned i = 0; i < 4; ++i) {
    record[place + i] = static_cast<std::uint8_t>(crc.checksum() >> (8U * i));
  }
}

/// As it is found, and as if its checksum were right.
void check_record(Bytes const& found) {
  check_as_found(found);
  if (found.size() >= Record_codec::header_size) {
    Bytes record = found;
    auto const content = record.begin() + Record_codec::header_size;
    put_checksum(record, 1, {{3, 0, 0, 0, 0, 0, 0, 0, 'k', 'e', 'y', record[0]}, {content, record.end()}});
    check_as_found(record);
  }
}

void check_summary(Bytes const& found) {
  Bytes record = found;
  if (record.size() > 4) {
    put_checksum(record, record.size() - 4, {{record.begin(), record.end() - 4}});
  }
  if (auto const summary = Store_summary::decode(record.data(), record.size())) {
    require(summary->encode() == record && summary->store_id != 0, "a sound summary is what its writer would write");
  }
}

void check_counters(Bytes const& bytes) {
  fuzz::Memory_file const file(bytes);
  if (auto const counters = Usage_file::load(file.descriptor())) {
    auto const words = counters->to_words();
    require(std::equal(bytes.begin(), bytes.end(), reinterpret_cast<std::uint8_t const*>(words.data())),
            "sound counters are what their writer would write");
    require(counters->total().write >= counters->run.write, "no count wraps");
    require(counters->session().write <= counters->run.write, "a session is a part of what ran");
  }
}

void check_name(Bytes const& bytes) {
  std::string const text(bytes.begin(), bytes.end());
  require(unescape(escape(text)) == text, "a name survives as a file name");
  auto const name = unescape(text);
  require(!name || escape(*name) == text, "one name has one file name");
  require(fuzz::is_one_plain_line(printable(text)), "a name can be printed");
}

}  // namespace

void fuzz::check(Input input) {
  auto const check_choice = std::array{check_record, check_summary, check_counters, check_name}.at(input.u8() % 4U);
  check_choice(input.rest());
}
