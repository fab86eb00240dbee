// SPDX-License-Identifier: Apache-2.0
// What the three services' bindings read of a peer's bytes. What flashwatch itself writes and reads is compared where
// it does so.
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "halden/services/diag/d_17f0/dataidentifier_flashwatchreport.h"
#include "halden/services/diag/d_17f2/dataidentifier_emmcbudgetexceedance.h"
#include "halden/services/diag/meta_info.h"
#include "orvel/persistency/statistics.h"
#include "tests/platform/com/hex.h"

namespace {

using namespace halden::services::diag;
using tarn::com::cpp_binding::Deserializer;
using tarn::com::cpp_binding::Serializer;
using Bytes = std::vector<std::uint8_t>;

/// The bytes after reading and writing them.
template <typename Read, typename Write>
std::function<Bytes(Bytes const&)> through(Read read, Write write) {
  return [=](Bytes const& bytes) {
    Deserializer in(bytes.data(), bytes.size(), {});
    Bytes again;
    Serializer out(again, {});
    write(out, read(in));
    return again;
  };
}

template <typename Error>
Bytes through_error(Bytes const& bytes) {
  Bytes again;
  Error(bytes).serialize(again);
  return again;
}

TEST(ABinding, ReadsWhatItWritesSkipsTheMembersOfALaterVersionAndRefusesACutResult) {
  using Report = d_17f0::DataIdentifier_FlashwatchReport;
  using Exceedance = d_17f2::DataIdentifier_EMMCBudgetExceedance;
  std::string const text = "00 00 00 05 EF BB BF 6E 00 ";
  std::string stat = text;
  for (char const number : {'1', '2', '3', '4', '5', '6', '7', '8'}) {
    stat += std::string("00 00 00 00 00 00 00 0") + number + " ";
  }
  using Row = std::tuple<std::function<Bytes(Bytes const&)>, std::string, std::string>;
  for (auto const& [pass, hex, later] :
       {Row{through(d_17f0::read_read_output, d_17f0::write_read_output), "00 00 00 01 0F 00 00 00 03 AA BB CC",
            "00 00 00 02 0F 99 00 00 00 03 AA BB CC"},
        Row{through(d_17f2::read_read_output, d_17f2::write_read_output), "07", "07 99"},
        Row{through(read_meta_info, write_meta_info), "00 00 00 12 " + text + text,
            "00 00 00 12 " + text + text + "99"},
        Row{through(orvel::persistency::read_kvs_statistics, orvel::persistency::write_kvs_statistics),
            "00 00 00 5A 00 00 00 56 " + text + "00 00 00 49 " + stat,
            "00 00 00 5D 00 00 00 59 " + text + "00 00 00 4C " + stat + "AA BB CC"},
        Row{through_error<Report::UDSServiceFailed>, "00 00 00 01 11", "00 00 00 02 11 22"},
        Row{through_error<Exceedance::UDSServiceFailed>, "00 00 00 01 11", "00 00 00 02 11 22"}}) {
    auto const bytes = bytes_of(hex);
    EXPECT_EQ(pass(bytes), bytes) << hex;
    EXPECT_EQ(pass(bytes_of(later)), bytes) << later;
    for (auto cut = bytes; !cut.empty();) {
      cut.pop_back();
      EXPECT_THROW(pass(cut), std::out_of_range) << hex << " cut at " << cut.size();
    }
  }
}

template <typename Interface>
void expect_one_error_of_read(char const* what) {
  Bytes const payload{0, 0, 0, 1, 0x22};
  for (auto const code : Bytes{0, 1, 3, 255}) {
    EXPECT_EQ(Interface::Read::GetApplicationErrorExceptionPtr(code, payload), nullptr);
  }
  EXPECT_EQ(Interface::Cancel::GetApplicationErrorExceptionPtr(2, payload), nullptr);
  try {
    std::rethrow_exception(Interface::Read::GetApplicationErrorExceptionPtr(2, payload));
  } catch (typename Interface::UDSServiceFailed const& error) {
    EXPECT_STREQ(error.what(), what);
    EXPECT_EQ(error.error_code(), 2);
    EXPECT_EQ(error.response_code(), 0x22);
  }
}

TEST(ABinding, HasOneApplicationErrorOfRead) {
  expect_one_error_of_read<d_17f0::DataIdentifier_FlashwatchReport>(
      "DataIdentifier_FlashwatchReport::UDSServiceFailed::2");
  expect_one_error_of_read<d_17f2::DataIdentifier_EMMCBudgetExceedance>(
      "DataIdentifier_EMMCBudgetExceedance::UDSServiceFailed::2");
}

}  // namespace
