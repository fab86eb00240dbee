// SPDX-License-Identifier: Apache-2.0
// The bytes of the three services' results and of the application error.
#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "halden/services/diag/d_17f0/dataidentifier_flashwatchreport.h"
#include "halden/services/diag/d_17f2/dataidentifier_emmcbudgetexceedance.h"
#include "halden/services/diag/meta_info.h"
#include "orvel/persistency/statistics.h"
#include "tests/platform/com/hex.h"

namespace {

using halden::services::diag::Meta_info;
using Report = halden::services::diag::d_17f0::DataIdentifier_FlashwatchReport;
using Exceedance = halden::services::diag::d_17f2::DataIdentifier_EMMCBudgetExceedance;
using orvel::persistency::KVS_io_stat;
using tarn::com::cpp_binding::Deserializer;
using tarn::com::cpp_binding::Serializer;
using Bytes = std::vector<std::uint8_t>;

Bytes written(std::function<void(Serializer&)> const& write) {
  Bytes bytes;
  Serializer out(bytes, {});
  write(out);
  return bytes;
}

Deserializer reader(Bytes&&) = delete;
Deserializer reader(Bytes const& bytes) { return {bytes.data(), bytes.size(), {}}; }

TEST(TheReport, IsARecordWithTheCountAndAVector) {
  struct Row {
    Report::Read::Output output;
    char const* hex;
  };
  for (Row const& row : {Row{{0, {}}, "00 00 00 01 00 00 00 00 00"},
                         Row{{15, {0xAA, 0xBB, 0xCC}}, "00 00 00 01 0F 00 00 00 03 AA BB CC"}}) {
    Bytes const bytes = written([&](Serializer& out) { write_read_output(out, row.output); });
    EXPECT_EQ(bytes, bytes_of(row.hex));
    Deserializer in = reader(bytes);
    Report::Read::Output const again = halden::services::diag::d_17f0::read_read_output(in);
    EXPECT_EQ(again.entry_count, row.output.entry_count);
    EXPECT_EQ(again.report_data, row.output.report_data);
  }
}

TEST(TheExceedance, IsOneByteAlone) {
  for (std::uint8_t const value : {std::uint8_t{0}, std::uint8_t{1}}) {
    Bytes const bytes = written([&](Serializer& out) { write_read_output(out, Exceedance::Read::Output{value}); });
    EXPECT_EQ(bytes, Bytes{value});
    Deserializer in = reader(bytes);
    EXPECT_EQ(halden::services::diag::d_17f2::read_read_output(in).budget_exceeded, value);
  }
}

TEST(MetaInfo, IsAMapWithFourBytesOfLength) {
  Meta_info const meta_info{{"a", "1"}, {"b", ""}};
  Bytes const bytes = written([&](Serializer& out) { halden::services::diag::write_meta_info(out, meta_info); });
  EXPECT_EQ(bytes, bytes_of("00 00 00 23  00 00 00 05 EF BB BF 61 00  00 00 00 05 EF BB BF 31 00 "
                            "00 00 00 05 EF BB BF 62 00  00 00 00 04 EF BB BF 00"));
  Deserializer in = reader(bytes);
  EXPECT_EQ(halden::services::diag::read_meta_info(in), meta_info);
}

// One application "n", its members 1 to 8, with `extra` behind the members; the outer lengths are `longer` than right.
Bytes statistics_answer(std::string const& extra, std::uint8_t outer, std::uint8_t map, std::uint8_t record) {
  auto const length = [](std::uint8_t value) { return Bytes{0, 0, 0, value}; };
  Bytes bytes;
  auto const append = [&](Bytes const& more) { bytes.insert(bytes.end(), more.begin(), more.end()); };
  append(length(outer));
  append(length(map));
  append(bytes_of("00 00 00 05 EF BB BF 6E 00"));
  append(length(record));
  append(bytes_of("00 00 00 05 EF BB BF 6E 00"));
  for (std::uint8_t member = 1; member <= 8; ++member) {
    append({0, 0, 0, 0, 0, 0, 0, member});
  }
  append(bytes_of(extra));
  return bytes;
}

TEST(TheStatistics, AreARecordWithAMapOfRecords) {
  std::map<std::string, KVS_io_stat> const output{{"n", {"n", 1, 2, 3, 4, 5, 6, 7, 8}}};
  Bytes const bytes = written([&](Serializer& out) { write_kvs_statistics(out, output); });
  EXPECT_EQ(bytes, statistics_answer("", 90, 86, 73));
  for (Bytes const& readable : {bytes, statistics_answer("AA BB CC", 93, 89, 76)}) {
    Deserializer in = reader(readable);
    auto const again = orvel::persistency::read_kvs_statistics(in);
    ASSERT_EQ(again.size(), 1U);
    KVS_io_stat const& stat = again.at("n");
    EXPECT_EQ(stat.application_id, "n");
    EXPECT_EQ((std::vector<std::uint64_t>{stat.session_read, stat.session_write, stat.session_setvalue, stat.total_read,
                                          stat.total_write, stat.total_setvalue, stat.soft_limit, stat.hard_limit}),
              (std::vector<std::uint64_t>{1, 2, 3, 4, 5, 6, 7, 8}));
  }
  Bytes const no_entries = bytes_of("00 00 00 04 00 00 00 00");
  Deserializer empty = reader(no_entries);
  EXPECT_TRUE(orvel::persistency::read_kvs_statistics(empty).empty());
}

template <typename Action>
std::string complaint_of(Action const& action) {
  try {
    action();
  } catch (std::out_of_range const& error) {
    return error.what();
  }
  return "nothing";
}

TEST(TheStatistics, AreRefusedWhenALengthIsTooSmall) {
  char const* const too_small = "Violation of [PRS_SOMEIP_00900]: Record length given by sender is too small.";
  for (Bytes const& bytes :
       {statistics_answer("", 89, 86, 73), statistics_answer("", 90, 86, 72), statistics_answer("", 90, 85, 73)}) {
    Deserializer in = reader(bytes);
    EXPECT_EQ(complaint_of([&] { orvel::persistency::read_kvs_statistics(in); }).rfind(too_small, 0), 0U);
  }
  Bytes const whole = statistics_answer("", 90, 86, 73);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Bytes const cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    Deserializer in = reader(cut);
    EXPECT_THROW(orvel::persistency::read_kvs_statistics(in), std::out_of_range) << "cut at " << size;
  }
}

template <typename Interface>
class ApplicationError : public testing::Test {};
using Interfaces = testing::Types<Report, Exceedance>;
TYPED_TEST_SUITE(ApplicationError, Interfaces, );

TYPED_TEST(ApplicationError, TravelsAsARecordOfOneByte) {
  using Error = typename TypeParam::UDSServiceFailed;
  Bytes bytes;
  Error(0x11).serialize(bytes);
  EXPECT_EQ(bytes, bytes_of("00 00 00 01 11"));
  EXPECT_EQ(Error(0x11).error_code(), 2);
  std::string const interface = TypeParam::name;
  EXPECT_EQ(Error(0x11).what(), interface.substr(interface.rfind(':') + 1) + "::UDSServiceFailed::2");

  for (char const* hex : {"00 00 00 01 11", "00 00 00 02 11 22", "00 00 00 01 11 22"}) {
    EXPECT_EQ(Error(bytes_of(hex)).response_code(), 0x11) << hex;
  }
}

TYPED_TEST(ApplicationError, RefusesAMalformedOne) {
  using Error = typename TypeParam::UDSServiceFailed;
  struct Row {
    char const* hex;
    char const* start;
  };
  for (Row const& row :
       {Row{"", "Read beyond the end of the data buffer"}, Row{"00 00 00", "Read beyond the end of the data buffer"},
        Row{"00 00 00 00", "Violation of [PRS_SOMEIP_00900]: Record length provided by sender is smaller"},
        Row{"00 00 00 00 11", "Violation of [PRS_SOMEIP_00900]: Record length provided by sender is smaller"},
        Row{"00 00 00 01", "Deserialization calculated invalid end position."},
        Row{"00 00 00 03 11", "Deserialization calculated invalid end position."}}) {
    EXPECT_EQ(complaint_of([&] { Error{bytes_of(row.hex)}; }).rfind(row.start, 0), 0U) << row.hex;
  }
}

TYPED_TEST(ApplicationError, IsMadeForCodeTwoOfReadOnly) {
  using Error = typename TypeParam::UDSServiceFailed;
  Bytes const payload = bytes_of("00 00 00 01 22");
  for (unsigned code = 0; code < 256; ++code) {
    auto const narrow = static_cast<std::uint8_t>(code);
    EXPECT_EQ(TypeParam::Cancel::GetApplicationErrorExceptionPtr(narrow, payload), nullptr);
    EXPECT_EQ(TypeParam::Read::GetApplicationErrorExceptionPtr(narrow, payload) != nullptr, code == 2) << code;
  }
  try {
    std::rethrow_exception(TypeParam::Read::GetApplicationErrorExceptionPtr(2, payload));
  } catch (Error const& error) {
    EXPECT_EQ(error.response_code(), 0x22);
  }
}

}  // namespace
