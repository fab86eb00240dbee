// SPDX-License-Identifier: Apache-2.0
// The record's bytes, when the platform is called, and how each of its failures is told.
#include "flashwatch/stats/persistent_storage.h"

#include "flashwatch/stats/kvs_exception_handler.h"
#include "tests/flashwatch/room_test.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using ara::per::KvsType;

struct APersistentStorage : Room_test {
  static std::string line(std::string const& action) {
    return debug(action, "nav", "time of first use:", I64{-2}, "soft limit:", U64{0x1112131415161718},
                 "hard limit:", U64{0x2122232425262728}, "years in use:", U32{0x01020304});
  }
  static auto flushes() {
    auto const calls = journal();
    return std::count(calls.begin(), calls.end(), "per.SyncToStorage()");
  }
  Bytes stored() const { return answers().stored.at("nav").GetBinary(); }
  void store(KvsType const& value) { answers().stored.insert_or_assign("nav", value); }

  Persistent_storage storage_;
  Persistent_storage_if::Entry const entry_{-2, {0x1112131415161718, 0x2122232425262728}, 0x01020304};
  // time of first use, soft limit, hard limit, years, reserved
  Bytes const bytes_{0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x18, 0x17, 0x16, 0x15, 0x14, 0x13, 0x12, 0x11,
                     0x28, 0x27, 0x26, 0x25, 0x24, 0x23, 0x22, 0x21, 0x04, 0x03, 0x02, 0x01, 0x00, 0x00, 0x00, 0x00};
};

TEST_F(APersistentStorage, WritesARecordOf32Bytes) {
  storage_.create("nav", entry_);
  EXPECT_EQ(stored(), bytes_);
  EXPECT_THAT(journal(), ElementsAre("per.KeyValueStorage(flashwatch_BkupByEmBoot)", "per.HasKey(nav)",
                                     "per.SetValue(nav)", line("Write for key:")));
}

TEST_F(APersistentStorage, ReadsARecordAndIgnoresItsReservedBytes) {
  EXPECT_FALSE(storage_.read("nav").has_value());
  auto bytes = bytes_;
  bytes.at(31) = 0xAA;
  store(KvsType(bytes.data(), bytes.size()));
  auto const entry = storage_.read("nav");
  ASSERT_TRUE(entry.has_value());
  EXPECT_EQ(entry->time_of_first_use, -2);
  EXPECT_EQ(entry->limits.soft, 0x1112131415161718);
  EXPECT_EQ(entry->limits.hard, 0x2122232425262728);
  EXPECT_EQ(entry->years_in_use, 0x01020304);
  EXPECT_THAT(script::log(), ElementsAre(line("Read for key:")));
}

TEST_F(APersistentStorage, TakesWhatItCannotDecodeForNoRecord) {
  std::vector<std::string> expected;
  for (auto const& [value, type, text] : std::vector<std::tuple<KvsType, std::string, std::string>>{
           {KvsType(bytes_.data(), 31), "ExceptionLogicError:", "another size"},
           {KvsType(std::string(32, 'x')), "ExceptionLogicError:", "not binary"},
           {KvsType::damaged("checksum"), "ExceptionPhysicalStorageError:", "checksum"}}) {
    store(value);
    EXPECT_FALSE(storage_.read("nav").has_value());
    expected.push_back(warning("Exception caught during kvs_db readout"));
    expected.push_back(warning(type, text, "caught"));
  }
  EXPECT_EQ(script::log(), expected);
}

TEST_F(APersistentStorage, OnlyWarnsOfACreateOrUpdateThatDoesNotFit) {
  storage_.update("nav", entry_);
  EXPECT_TRUE(answers().stored.empty());
  store(KvsType("x", 1));
  storage_.create("nav", entry_);
  EXPECT_EQ(stored(), Bytes{'x'});
  EXPECT_THAT(script::log(), ElementsAre(warning("Trying to update not created entry"),
                                         warning("Trying to create entry with existing key")));
  storage_.sync_to_storage();
  EXPECT_EQ(flushes(), 0);
  storage_.update("nav", entry_);
  EXPECT_EQ(stored(), bytes_);
}

TEST_F(APersistentStorage, FlushesAtEverySyncAfterAWriteThatSucceeded) {
  on("per.SetValue", [] { throw ara::per::ExceptionPhysicalStorageError("disk full"); });
  storage_.create("nav", entry_);
  storage_.sync_to_storage();
  EXPECT_EQ(flushes(), 0);
  on("per.SetValue", [] {});
  storage_.create("nav", entry_);
  storage_.sync_to_storage();
  on("per.SyncToStorage", [] { throw ara::per::ExceptionStorageLocationNotFound("no root"); });
  storage_.sync_to_storage();
  EXPECT_EQ(flushes(), 2);
  EXPECT_THAT(script::log(), ElementsAre(warning("Exception caught during kvs_db write"),
                                         warning("ExceptionPhysicalStorageError:", "disk full", "caught"),
                                         line("Write for key:"), warning("Exception caught during sync_to_storage"),
                                         warning("ExceptionStorageLocationNotFound:", "no root", "caught")));
}

TEST_F(APersistentStorage, LetsAFailedOpeningAndAFailedExistenceTestPass) {
  using ara::per::ExceptionPhysicalStorageError;
  on("per.KeyValueStorage", [] { throw ExceptionPhysicalStorageError("foreign file"); });
  EXPECT_THROW(Persistent_storage(), ExceptionPhysicalStorageError);
  on("per.HasKey", [] { throw ExceptionPhysicalStorageError("gone"); });
  EXPECT_THROW(storage_.create("nav", entry_), ExceptionPhysicalStorageError);
  EXPECT_THROW(storage_.update("nav", entry_), ExceptionPhysicalStorageError);
  EXPECT_DEATH(storage_.read("nav"), "");
  EXPECT_THAT(script::log(), IsEmpty());
}

TEST_F(APersistentStorage, TellsTheRestOfTheExceptionsByTheirType) {
  handle_kvs_exception(std::make_exception_ptr(std::range_error("odd")));
  handle_kvs_exception(std::make_exception_ptr(5));
  EXPECT_THAT(script::log(), ElementsAre(warning("Exception:", "odd", "caught at KVS access"),
                                         warning("Unknown exception caught at KVS access")));
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
