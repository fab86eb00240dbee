// SPDX-License-Identifier: Apache-2.0
// Values: what goes in comes out, in memory and through a record; any other use is the right exception.
#include <cmath>
#include <limits>

#include "platform/src/per/names.h"
#include "platform/src/per/record_codec.h"
#include "tests/platform/per/machine.h"

namespace per_test {
namespace {

using per::Record_codec;

std::vector<std::function<void(KvsType const&)>> const getters{
    [](auto& v) { v.GetBinary(); }, [](auto& v) { v.GetString(); }, [](auto& v) { v.GetSInt(); },
    [](auto& v) { v.GetUInt(); },   [](auto& v) { v.GetDouble(); }, [](auto& v) { v.GetBool(); }};

struct Row {
  KvsType value;
  std::size_t size;
  std::size_t getter;
  std::function<bool(KvsType const&)> same;
};

std::vector<Row> values() {
  auto const lowest = std::numeric_limits<std::int64_t>::min();
  auto const highest = std::numeric_limits<std::uint64_t>::max();
  std::string const text("\0'\"\xC3\xA4\xFF", 6);
  return {
      {KvsType("\0\x01", 2), 2, 0,
       [](auto& v) {
         return v.GetBinary() == std::vector<std::uint8_t>({0, 1});
       }},
      {KvsType(nullptr, 0), 0, 0, [](auto& v) { return v.GetBinary().empty(); }},
      {KvsType(text), 6, 1, [text](auto& v) { return v.GetString() == text; }},
      {KvsType(""), 0, 1, [](auto& v) { return v.GetString().empty(); }},
      {KvsType(lowest), 8, 2, [lowest](auto& v) { return v.GetSInt() == lowest; }},
      {KvsType(highest), 8, 3, [highest](auto& v) { return v.GetUInt() == highest; }},
      {KvsType(-0.0), 8, 4, [](auto& v) { return v.GetDouble() == 0 && std::signbit(v.GetDouble()); }},
      {KvsType(std::nan("")), 8, 4, [](auto& v) { return std::isnan(v.GetDouble()); }},
      {KvsType(true), 1, 5, [](auto& v) { return v.GetBool(); }},
  };
}

TEST(A_value, comes_back_from_its_record_and_no_flipped_bit_or_other_getter_passes) {
  auto const is_damaged = [](std::string const& key, std::vector<std::uint8_t> const& record, std::size_t size) {
    return std::holds_alternative<std::string>(Record_codec::decode(key, record.data(), size));
  };
  for (auto const& row : values()) {
    SCOPED_TRACE("getter " + std::to_string(row.getter) + ", size " + std::to_string(row.size));
    auto record = Record_codec::encode("key", row.value);
    ASSERT_EQ(record.size(), Record_codec::header_size + row.size);
    auto const back = Record_codec::decode("key", record.data(), record.size());
    ASSERT_TRUE(std::holds_alternative<KvsType>(back)) << std::get<std::string>(back);
    auto const& value = std::get<KvsType>(back);
    EXPECT_TRUE(row.same(value));
    EXPECT_EQ(Record_codec::content_size(value), row.size);
    for (std::size_t getter = 0; getter < getters.size(); ++getter) {
      if (getter != row.getter) {
        EXPECT_THROW(getters[getter](value), ExceptionLogicError);
      }
    }
    EXPECT_TRUE(is_damaged("kex", record, record.size()));
    for (std::size_t size = 0; size < record.size(); ++size) {
      EXPECT_TRUE(is_damaged("key", record, size));
    }
    for (std::size_t bit = 0; bit < 8 * record.size(); ++bit) {
      record[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
      EXPECT_TRUE(is_damaged("key", record, record.size()));
      record[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
    }
  }
  for (auto const& getter : getters) {
    auto const damaged = KvsType::damaged("what was found");
    EXPECT_THAT([&] { getter(damaged); }, ThrowsMessage<ExceptionPhysicalStorageError>("what was found"));
  }
}

TEST(A_value, has_the_record_that_other_machines_know) {
  // type, CRC-32 of (3 as 8 bytes, "key", type, content), content; all little-endian
  std::vector<std::uint8_t> const expected{4, 0x29, 0xE9, 0x61, 0x4F, 0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01};
  EXPECT_EQ(Record_codec::encode("key", KvsType(std::uint64_t{0x0102030405060708})), expected);
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
  for (auto const& [name, file_name] : std::vector<std::pair<std::string, std::string>>{{"a_B-9", "a_B-9"},
                                                                                        {"", "%"},
                                                                                        {".", "%2E"},
                                                                                        {"a.b", "a.b"},
                                                                                        {"a/b", "a%2Fb"},
                                                                                        {"%", "%25"},
                                                                                        {"..", "%2E."},
                                                                                        {std::string("\0", 1), "%00"},
                                                                                        {"\xC3\xA4", "%C3%A4"}}) {
    EXPECT_EQ(escape(name), file_name);
    EXPECT_EQ(unescape(file_name), name);
  }
  for (auto const* const other : {"%2", "%2f", "%41", "a b", ".", "%%", ""}) {
    EXPECT_EQ(unescape(other), std::nullopt) << other;
  }
}

}  // namespace
}  // namespace per_test
