// SPDX-License-Identifier: Apache-2.0
// Values: what goes in comes out, in memory and through a record; any other use is the right exception.
#include <cmath>
#include <limits>

#include "platform/src/per/names.h"
#include "platform/src/per/record_codec.h"
#include "platform/src/per/store_summary.h"
#include "tests/platform/com/hex.h"
#include "tests/platform/per/machine.h"

namespace per_test {
namespace {

using per::Record_codec;
using Bytes = std::vector<std::uint8_t>;

std::string as_text(Bytes const& bytes) { return {bytes.begin(), bytes.end()}; }

std::vector<std::function<std::string(KvsType const&)>> const getters{
    [](auto& v) { return as_text(v.GetBinary()); },
    [](auto& v) { return v.GetString(); },
    [](auto& v) { return std::to_string(v.GetSInt()); },
    [](auto& v) { return std::to_string(v.GetUInt()); },
    [](auto& v) { return testing::PrintToString(v.GetDouble()); },
    [](auto& v) { return std::to_string(v.GetBool()); }};

/// A value, its record under "key", the getter for it, and what that says.
struct Row {
  KvsType value;
  char const* record;
  std::size_t getter;
  std::string content;
};

/// A record is type, CRC-32 of (3 as 8 bytes, "key", type, content), and content; all little-endian.
std::vector<Row> values() {
  auto const text = "\0'\"\xC3\xA4\xFF"s;
  return {
      {KvsType("\0\x01", 2), "01 0FEEC9FE 0001", 0, "\0\x01"s},
      {KvsType(nullptr, 0), "01 7F9F8A27", 0, ""},
      {KvsType(text), "02 0998B49B 002722C3A4FF", 1, text},
      {KvsType(""), "02 C5CE83BE", 1, ""},
      {KvsType(std::numeric_limits<std::int64_t>::min()), "03 8C355606 0000000000000080", 2, "-9223372036854775808"},
      {KvsType(std::uint64_t{0x0102030405060708}), "04 29E9614F 0807060504030201", 3, "72623859790382856"},
      {KvsType(-0.0), "05 064C4C75 0000000000000080", 4, "-0"},
      {KvsType(std::nan("")), "05 3EC82B84 000000000000F87F", 4, "nan"},
      {KvsType(true), "06 EEAFD92A 01", 5, "1"}};
}

TEST(A_value, comes_back_from_its_record_and_no_other_getter_key_or_size_passes) {
  auto const is_damaged = [](std::string const& key, Bytes const& record, std::size_t size) {
    return std::holds_alternative<std::string>(Record_codec::decode(key, record.data(), size));
  };
  for (auto const& row : values()) {
    SCOPED_TRACE(row.record);
    auto const record = Record_codec::encode("key", row.value);
    ASSERT_EQ(record, bytes_of(row.record));
    auto const back = Record_codec::decode("key", record.data(), record.size());
    ASSERT_TRUE(std::holds_alternative<KvsType>(back)) << std::get<std::string>(back);
    auto const& value = std::get<KvsType>(back);
    EXPECT_EQ(getters[row.getter](value), row.content);
    EXPECT_EQ(Record_codec::content_size(value), record.size() - Record_codec::header_size);
    for (std::size_t getter = 0; getter < getters.size(); ++getter) {
      if (getter != row.getter) {
        EXPECT_THROW(getters[getter](value), ExceptionLogicError);
      }
    }
    EXPECT_TRUE(is_damaged("kex", record, record.size()));
    for (std::size_t size = 0; size < record.size(); ++size) {
      EXPECT_TRUE(is_damaged("key", record, size));
    }
  }
  for (auto const& getter : getters) {
    auto const damaged = KvsType::damaged("what was found");
    EXPECT_THAT([&] { getter(damaged); }, ThrowsMessage<ExceptionPhysicalStorageError>("what was found"));
  }
}

TEST(A_store, says_of_itself_what_other_machines_know) {
  per::Store_summary summary{1, {2, 3, 4}};
  summary.add_key("key");
  summary.add_key("\xFF");
  // five numbers, the sum of both keys' 64-bit FNV-1a, and the CRC-32 of all that; little-endian
  EXPECT_EQ(summary.encode(), bytes_of("0100000000000000 0200000000000000 0300000000000000 "
                                       "0400000000000000 0200000000000000 5AFC5DBC65BC2DED F54B4A51"));
}

TEST(A_value, leaves_a_buffer_of_another_size_alone) {
  std::string buffer = "abc";
  KvsType const value("xy", 2);
  EXPECT_THAT([&] { value.GetBinary(buffer.data(), 3); },
              ThrowsMessage<ExceptionLogicError>(HasSubstr("2 bytes, not 3")));
  EXPECT_EQ(buffer, "abc");
  value.GetBinary(buffer.data(), 2);
  EXPECT_EQ(buffer, "xyc");
}

TEST(A_name, becomes_a_file_name_of_its_own_and_back) {
  using per::escape;
  using per::unescape;
  std::map<std::string, std::string> const file_names{{"", "%"},          {"%", "%25"},   {".", "%2E"},
                                                      {"..", "%2E."},     {"a.b", "a.b"}, {"a/b", "a%2Fb"},
                                                      {"a_B-9", "a_B-9"}, {"\0"s, "%00"}, {"\xC3\xA4", "%C3%A4"}};
  for (auto const& [name, file_name] : file_names) {
    EXPECT_EQ(escape(name), file_name);
    EXPECT_EQ(unescape(file_name), name);
  }
  for (auto const* const other : {"%2", "%2f", "%41", "a b", ".", "%%", ""}) {
    EXPECT_EQ(unescape(other), std::nullopt) << other;
  }
}

}  // namespace
}  // namespace per_test
