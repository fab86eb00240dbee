// SPDX-License-Identifier: Apache-2.0
// The record's bytes, when the platform is called, and how each of its failures is told.
#include "flashwatch/stats/persistent_storage.h"

#include <gmock/gmock.h>

#include "flashwatch/stats/kvs_exception_handler.h"
#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using ::testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;

struct APersistentStorage : ::testing::Test {
  void SetUp() override { script::reset(); }

  static std::string line(std::string const& action, std::string const& key) {
    return script::debug(action, key, "time of first use:", std::int64_t{-2},
                         "soft limit:", std::uint64_t{0x1112131415161718},
                         "hard limit:", std::uint64_t{0x2122232425262728}, "years in use:", std::uint32_t{0x01020304});
  }
  /// How often the platform was called by that name.
  static auto calls(std::string const& call) {
    auto const all = script::journal();
    return std::count(all.begin(), all.end(), call);
  }

  Persistent_storage_if::Entry const entry_{-2, {0x1112131415161718, 0x2122232425262728}, 0x01020304};
  // time of first use, soft limit, hard limit, years, reserved
  Bytes const bytes_{0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x18, 0x17, 0x16, 0x15, 0x14, 0x13, 0x12, 0x11,
                     0x28, 0x27, 0x26, 0x25, 0x24, 0x23, 0x22, 0x21, 0x04, 0x03, 0x02, 0x01, 0x00, 0x00, 0x00, 0x00};
};

TEST_F(APersistentStorage, WritesARecordOf32Bytes) {
  Persistent_storage storage;
  storage.create("nav", entry_);
  EXPECT_EQ(script::answers().stored.at("nav").GetBinary(), bytes_);
  EXPECT_THAT(script::journal(), ElementsAre("per.KeyValueStorage(flashwatch_BkupByEmBoot)", "per.HasKey(nav)",
                                             "per.SetValue(nav)", line("Write for key:", "nav")));
}

TEST_F(APersistentStorage, ReadsARecordAndIgnoresItsReservedBytes) {
  Persistent_storage const storage;
  auto bytes = bytes_;
  bytes.back() = 0xAA;
  script::answers().stored.emplace("nav", ara::per::KvsType(bytes.data(), bytes.size()));
  auto const entry = storage.read("nav");

  ASSERT_TRUE(entry.has_value());
  EXPECT_EQ(entry->time_of_first_use, -2);
  EXPECT_EQ(entry->limits.soft, 0x1112131415161718);
  EXPECT_EQ(entry->limits.hard, 0x2122232425262728);
  EXPECT_EQ(entry->years_in_use, 0x01020304);
  EXPECT_THAT(script::log(), ElementsAre(line("Read for key:", "nav")));
  EXPECT_FALSE(storage.read("media").has_value());
  EXPECT_EQ(script::log().size(), 1U);
}

TEST_F(APersistentStorage, TakesWhatItCannotDecodeForNoRecord) {
  Persistent_storage const storage;
  auto stored = script::answers().stored;
  stored.emplace("short", ara::per::KvsType(bytes_.data(), 31));
  stored.emplace("text", ara::per::KvsType(std::string(32, 'x')));
  stored.emplace("damaged", ara::per::KvsType::damaged("bad checksum"));
  for (auto const& [key, type, text] :
       std::vector<std::array<std::string, 3>>{{"short", "ExceptionLogicError:", "another size"},
                                               {"text", "ExceptionLogicError:", "not binary"},
                                               {"damaged", "ExceptionPhysicalStorageError:", "bad checksum"}}) {
    script::reset();
    script::answers().stored = stored;
    EXPECT_FALSE(storage.read(key).has_value());
    EXPECT_THAT(script::log(), ElementsAre(script::warning("Exception caught during kvs_db readout"),
                                           script::warning(type, text, "caught")));
  }
}

TEST_F(APersistentStorage, OnlyWarnsOfACreateOrUpdateThatDoesNotFit) {
  Persistent_storage storage;
  storage.update("nav", entry_);
  EXPECT_TRUE(script::answers().stored.empty());
  script::answers().stored.emplace("nav", ara::per::KvsType("x", 1));
  storage.create("nav", entry_);
  storage.sync_to_storage();

  EXPECT_EQ(script::answers().stored.at("nav").GetBinary(), Bytes{'x'});
  EXPECT_THAT(script::log(), ElementsAre(script::warning("Trying to update not created entry"),
                                         script::warning("Trying to create entry with existing key")));
  EXPECT_EQ(calls("per.SyncToStorage()"), 0);
}

TEST_F(APersistentStorage, FlushesAtEverySyncAfterTheFirstWriteAndNeverByItself) {
  {
    Persistent_storage storage;
    storage.sync_to_storage();
    EXPECT_EQ(calls("per.SyncToStorage()"), 0);
    storage.create("nav", entry_);
    storage.update("nav", entry_);
    EXPECT_EQ(calls("per.SyncToStorage()"), 0);
    storage.sync_to_storage();
    storage.sync_to_storage();
  }
  EXPECT_EQ(calls("per.SyncToStorage()"), 2);
}

TEST_F(APersistentStorage, SwallowsFailedWritesAndFlushes) {
  Persistent_storage storage;
  script::on("per.SetValue", [] { throw ara::per::ExceptionPhysicalStorageError("disk full"); });
  storage.create("nav", entry_);
  storage.sync_to_storage();
  EXPECT_EQ(calls("per.SyncToStorage()"), 0);
  script::on("per.SetValue", [] {});
  script::on("per.SyncToStorage", [] { throw ara::per::ExceptionStorageLocationNotFound("no root"); });
  storage.create("nav", entry_);
  storage.sync_to_storage();

  EXPECT_THAT(script::log(),
              ElementsAre(script::warning("Exception caught during kvs_db write"),
                          script::warning("ExceptionPhysicalStorageError:", "disk full", "caught"),
                          line("Write for key:", "nav"), script::warning("Exception caught during sync_to_storage"),
                          script::warning("ExceptionStorageLocationNotFound:", "no root", "caught")));
}

TEST_F(APersistentStorage, LetsAFailedOpeningAndAFailedExistenceTestPass) {
  script::on("per.KeyValueStorage", [] { throw ara::per::ExceptionPhysicalStorageError("foreign file"); });
  EXPECT_THROW(Persistent_storage(), ara::per::ExceptionPhysicalStorageError);

  script::reset();
  Persistent_storage storage;
  script::on("per.HasKey", [] { throw ara::per::ExceptionPhysicalStorageError("gone"); });
  EXPECT_THROW(storage.create("nav", entry_), ara::per::ExceptionPhysicalStorageError);
  EXPECT_THROW(storage.update("nav", entry_), ara::per::ExceptionPhysicalStorageError);
  EXPECT_THAT(script::log(), ElementsAre());
  EXPECT_DEATH(storage.read("nav"), "");
}

TEST(AKvsExceptionHandler, NamesTheRestOfTheExceptions) {
  script::reset();
  handle_kvs_exception(std::make_exception_ptr(ara::per::ExceptionLogicError("order")));
  handle_kvs_exception(std::make_exception_ptr(std::range_error("odd")));
  handle_kvs_exception(std::make_exception_ptr(5));
  EXPECT_THAT(script::log(), ElementsAre(script::warning("ExceptionLogicError:", "order", "caught"),
                                         script::warning("Exception:", "odd", "caught at KVS access"),
                                         script::warning("Unknown exception caught at KVS access")));
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
