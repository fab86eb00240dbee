// SPDX-License-Identifier: Apache-2.0
// What the three services' bindings read of a peer's bytes. What flashwatch itself writes and reads is compared where
// it does so.
#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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
  std::map<std::string, std::function<Bytes(Bytes const&)>> const passes{
      {"report", through(d_17f0::read_read_output, d_17f0::write_read_output)},
      {"exceedance", through(d_17f2::read_read_output, d_17f2::write_read_output)},
      {"meta information", through(read_meta_info, write_meta_info)},
      {"statistics", through(orvel::persistency::read_kvs_statistics, orvel::persistency::write_kvs_statistics)},
      {"error of the report", through_error<Report::UDSServiceFailed>},
      {"error of the exceedance", through_error<Exceedance::UDSServiceFailed>}};
  auto const rows = nlohmann::json::parse(std::ifstream(ROWS));
  for (auto const& [what, pass] : passes) {
    auto const bytes = bytes_of(rows.at(what).at("bytes"));
    EXPECT_EQ(pass(bytes), bytes) << what;
    EXPECT_EQ(pass(bytes_of(rows.at(what).at("of a later version"))), bytes) << what;
    for (auto cut = bytes; !cut.empty();) {
      cut.pop_back();
      EXPECT_THROW(pass(cut), std::out_of_range) << what << " cut at " << cut.size();
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
