// SPDX-License-Identifier: Apache-2.0
// Values: what goes in comes out, in memory and through a record; any other use is the right exception.
#include <cmath>
#include <limits>

#include <gmock/gmock.h>

#include "platform/src/per/names.h"
#include "platform/src/per/record_codec.h"
#include "tests/platform/per/machine.h"

namespace {

using ara::per::ExceptionLogicError;
using ara::per::ExceptionPhysicalStorageError;
using ara::per::KvsType;
using linux_platform::per::Record_codec;
using testing::HasSubstr;

struct Row {
  char const* name;
  KvsType value;
  std::size_t size;
  std::function<bool(KvsType const&)> same;
};

std::vector<Row> values() {
  auto const lowest = std::numeric_limits<std::int64_t>::min();
  auto const highest = std::numeric_limits<std::uint64_t>::max();
  std::string const text("\0'\"\xC3\xA4\xFF", 6);
  return {
      {"binary", KvsType("\0\x01", 2), 2,
       [](auto& v) {
         return v.GetBinary() == std::vector<std::uint8_t>{0, 1};
       }},
      {"no bytes", KvsType(nullptr, 0), 0, [](auto& v) { return v.GetBinary().empty(); }},
      {"text", KvsType(text), 6, [text](auto& v) { return v.GetString() == text; }},
      {"empty text", KvsType(""), 0, [](auto& v) { return v.GetString().empty(); }},
      {"signed", KvsType(lowest), 8, [lowest](auto& v) { return v.GetSInt() == lowest; }},
      {"unsigned", KvsType(highest), 8, [highest](auto& v) { return v.GetUInt() == highest; }},
      {"floating point", KvsType(-0.0), 8, [](auto& v) { return v.GetDouble() == 0 && std::signbit(v.GetDouble()); }},
      {"not a number", KvsType(std::nan("")), 8, [](auto& v) { return std::isnan(v.GetDouble()); }},
      {"boolean", KvsType(true), 1, [](auto& v) { return v.GetBool(); }},
  };
}

TEST(A_value, comes_back_from_its_record_and_no_flipped_bit_passes) {
  for (auto const& row : values()) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Record_codec::content_size(row.value), row.size);
    auto record = Record_codec::encode("key", row.value);
    ASSERT_EQ(record.size(), Record_codec::header_size + row.size);
    auto const back = Record_codec::decode("key", record.data(), record.size());
    ASSERT_TRUE(std::holds_alternative<KvsType>(back)) << std::get<std::string>(back);
    EXPECT_TRUE(row.same(std::get<KvsType>(back)));

    for (std::size_t bit = 0; bit < 8 * record.size(); ++bit) {
      record[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
      EXPECT_TRUE(std::holds_alternative<std::string>(Record_codec::decode("key", record.data(), record.size())));
      record[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
    }
    for (std::size_t size = 0; size < record.size(); ++size) {
      EXPECT_TRUE(std::holds_alternative<std::string>(Record_codec::decode("key", record.data(), size)));
    }
    EXPECT_TRUE(std::holds_alternative<std::string>(Record_codec::decode("kex", record.data(), record.size())));
  }
}

TEST(A_value, has_the_record_that_other_machines_know) {
  // type, CRC-32 of (3 as 8 bytes, "key", type, content), content; all little-endian
  std::vector<std::uint8_t> const expected{4, 0x29, 0xE9, 0x61, 0x4F, 0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01};
  EXPECT_EQ(Record_codec::encode("key", KvsType(std::uint64_t{0x0102030405060708})), expected);
}

TEST(A_value, refuses_the_getters_of_other_types) {
  std::vector<std::function<void(KvsType const&)>> const getters{
      [](auto& v) { v.GetBinary(); }, [](auto& v) { v.GetString(); }, [](auto& v) { v.GetSInt(); },
      [](auto& v) { v.GetUInt(); },   [](auto& v) { v.GetDouble(); }, [](auto& v) { v.GetBool(); }};
  std::vector<KvsType> const one_of_each{KvsType("b", 1),           KvsType("t"), KvsType(std::int64_t{1}),
                                         KvsType(std::uint64_t{1}), KvsType(1.0), KvsType(true)};
  auto const damaged = KvsType::damaged("what was found");
  for (std::size_t getter = 0; getter < getters.size(); ++getter) {
    for (std::size_t type = 0; type < one_of_each.size(); ++type) {
      if (getter == type) {
        EXPECT_NO_THROW(getters[getter](one_of_each[type]));
      } else {
        EXPECT_THROW(getters[getter](one_of_each[type]), ExceptionLogicError);
      }
    }
    EXPECT_EQ(per_test::text_of<ExceptionPhysicalStorageError>([&] { getters[getter](damaged); }), "what was found");
  }
}

TEST(A_value, leaves_a_buffer_of_another_size_alone) {
  std::array<char, 3> buffer{'a', 'b', 'c'};
  KvsType const value("xy", 2);
  EXPECT_THAT(per_test::text_of<ExceptionLogicError>([&] { value.GetBinary(buffer.data(), 3); }),
              HasSubstr("2 bytes, not 3"));
  EXPECT_EQ(buffer, (std::array<char, 3>{'a', 'b', 'c'}));
  value.GetBinary(buffer.data(), 2);
  EXPECT_EQ(buffer, (std::array<char, 3>{'x', 'y', 'c'}));
}

TEST(A_name, becomes_a_file_name_of_its_own_and_back) {
  using linux_platform::per::escape;
  using linux_platform::per::unescape;
  std::vector<std::pair<std::string, std::string>> const rows{{"flashwatch_BkupByEmBoot", "flashwatch_BkupByEmBoot"},
                                                              {"", "%"},
                                                              {".", "%2E"},
                                                              {"a.b", "a.b"},
                                                              {"a/b", "a%2Fb"},
                                                              {"%", "%25"},
                                                              {"..", "%2E."},
                                                              {std::string("\0", 1), "%00"},
                                                              {"\xC3\xA4", "%C3%A4"}};
  for (auto const& [name, file_name] : rows) {
    EXPECT_EQ(escape(name), file_name);
    EXPECT_EQ(unescape(file_name), name);
  }
  for (auto const* const other : {"%2", "%2f", "%41", "a b", ".", "%%", ""}) {
    EXPECT_EQ(unescape(other), std::nullopt) << other;
  }
}

}  // namespace
