// SPDX-License-Identifier: Apache-2.0
// The configuration file: what is read, what is refused, and with which words.
#include "flashwatch/config/config_reader.h"

#include <filesystem>
#include <fstream>

#include "flashwatch/config/file_reader.h"
#include "flashwatch/config/periodic_logging_conf.h"
#include "tests/flashwatch/mocks/neighbours.h"
#include "tests/flashwatch/room_test.h"

namespace orvel::flashwatch::diagnostics {
namespace {

struct AConfigReader : Room_test {
  static Config_reader read(std::string const& text) { return {"path", std::make_unique<Text_reader>(text)}; }
  static std::string caught(std::string const& what, std::string const& key) {
    return warning("Exception:", what, "caught while reading parameter", key);
  }
  static std::string error_of(std::function<void()> const& action) {
    try {
      action();
    } catch (std::exception const& error) {
      return error.what();
    }
    return "no exception";
  }
};

TEST_F(AConfigReader, TakesAllThreeSettingsAndIgnoresOtherMembers) {
  auto const config = read(R"({"x": [1], "pm_instance_id": "pm", "own_instance_id": "own", "log_period": 7})");
  EXPECT_EQ(config.get_pm_instance_id(), "pm");
  EXPECT_EQ(config.get_own_instance_id().value(), "own");
  EXPECT_EQ(config.get_log_period().value().count(), 7);
  EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(AConfigReader, GoesOnWithoutTheOptionalSettings) {
  for (std::string const member : {"", R"(, "own_instance_id": "")", R"(, "own_instance_id": 5)"}) {
    auto const config = read(R"({"pm_instance_id": "pm")" + member + "}");
    EXPECT_FALSE(config.get_own_instance_id());
    EXPECT_FALSE(config.get_log_period());
  }
  std::string const no_key = "[json.exception.out_of_range.403] key '";
  std::string const no_text = "[json.exception.type_error.302] type must be string, but is number";
  auto const no_period =
      debug("Exception:", no_key + "log_period' not found", "caught while reading parameter", "log_period");
  EXPECT_THAT(script::log(), ElementsAre(caught(no_key + "own_instance_id' not found", "own_instance_id"), no_period,
                                         caught("Empty own_instance_id in configuration file", "own_instance_id"),
                                         no_period, caught(no_text, "own_instance_id"), no_period));
}

TEST_F(AConfigReader, RefusesAnUnusablePmInstanceId) {
  EXPECT_EQ(error_of([] { read(R"({"pm_instance_id": ""})"); }), "Empty pm_instance_id in configuration file");
  EXPECT_THROW(read(R"({"pm_instance_id": null})"), nlohmann::json::type_error);
  EXPECT_THROW(read(R"({"own_instance_id": "own"})"), nlohmann::json::out_of_range);
  EXPECT_THROW(read("[]"), nlohmann::json::type_error);
  EXPECT_THAT(script::log(), IsEmpty());
}

TEST_F(AConfigReader, TakesEveryNumberAsLogPeriodButTheTwoExtremes) {
  constexpr I64 refused = 0;
  std::string const too_high = "\"Value 9223372036854775807out of range\"";
  std::string const too_low = "\"Value -9223372036854775808out of range\"";
  for (auto const& [json, minutes, error] :
       std::vector<std::tuple<std::string, I64, std::string>>{{"0", 0, ""},
                                                              {"-5", -5, ""},
                                                              {"100000", 100000, ""},
                                                              {"2.9", 2, ""},
                                                              {"-2.9", -2, ""},
                                                              {"9223372036854775806", 9223372036854775806, ""},
                                                              {"-9223372036854775807", -9223372036854775807, ""},
                                                              {"9223372036854774784.0", 9223372036854774784, ""},
                                                              {"18446744073709551615", -1, ""},
                                                              {"9223372036854775807", refused, too_high},
                                                              {"9223372036854775808", refused, too_low},
                                                              {"-9223372036854775808", refused, too_low},
                                                              {"9223372036854775808.0", refused, too_high},
                                                              {"1e300", refused, too_high},
                                                              {"-1e300", refused, too_low},
                                                              {"true", refused, "but is boolean"},
                                                              {"\"10\"", refused, "but is string"},
                                                              {"null", refused, "but is null"},
                                                              {"[1]", refused, "but is array"}}) {
    SCOPED_TRACE(json);
    script::reset();
    auto const period =
        read(R"({"pm_instance_id": "pm", "own_instance_id": "own", "log_period": )" + json + "}").get_log_period();
    ASSERT_EQ(period.has_value(), error.empty());
    if (period) {
      EXPECT_EQ(period->count(), minutes);
    } else {
      EXPECT_THAT(script::log(), ElementsAre(AllOf(StartsWith("log  5 \"Exception:\" "), HasSubstr(error))));
    }
  }
}

struct AFileReader : AConfigReader {
  ~AFileReader() override { std::filesystem::remove_all(folder_); }

  std::string file(std::string const& text) const {
    std::ofstream(folder_ / "file.json") << text;
    return folder_ / "file.json";
  }
  static std::string get(std::string const& path) { return File_reader().get_content(path); }

  std::filesystem::path folder_ = [] {
    std::string name = std::filesystem::temp_directory_path() / "flashwatch_config_XXXXXX";
    return std::filesystem::path(::mkdtemp(name.data()));
  }();
};

TEST_F(AFileReader, ReturnsValidTextUnchangedAndNamesTheFileOtherwise) {
  for (std::string const text : {" {\"a\" : 1}\n", "[]", "\xEF\xBB\xBF{}", "7"}) {
    EXPECT_EQ(get(file(text)), text);
  }
  for (std::string const text : {"", "{", "{} {}", "{'a': 1}", "1e400", "\"\xFF\""}) {
    auto const path = file(text);
    EXPECT_EQ(error_of([&] { get(path); }), "Invalid json configuration file: " + path) << text;
  }
  EXPECT_EQ(error_of([&] { get(folder_); }), "Invalid json configuration file: " + folder_.string());
  std::string const missing = folder_ / "none.json";
  EXPECT_EQ(error_of([&] { get(missing); }), "Json configuration file: " + missing + " does not exist");
}

TEST_F(AFileReader, SurvivesAFileNestedAHundredThousandDeep) {
  std::string const deep = std::string(100000, '[') + std::string(100000, ']');
  auto const path = file(R"({"pm_instance_id": "pm", "own_instance_id": "own", "log_period": 1, "x": )" + deep + "}");
  EXPECT_EQ(Config_reader(path, std::make_unique<File_reader>()).get_pm_instance_id(), "pm");
  EXPECT_THROW(get(file(std::string(100000, '['))), std::runtime_error);
}

TEST(APeriodicLoggingConf, DecidesByTheConfiguredValue) {
  constexpr I64 most_negative = std::numeric_limits<I64>::min() + 1;
  auto const line = [](I64 value, auto const&... rest) { return debug("Configured log period:", value, rest...); };
  auto const used = "minutes will be used for periodic logging";
  auto const replaced = "minutes will be replaced by maximum allowed:";
  auto const invalid = "minutes is invalid - periodic logging will be disabled";
  for (auto const& [value, enabled, period, expected] :
       std::vector<std::tuple<boost::optional<I64>, bool, int, std::string>>{
           {boost::none, true, 15, debug("Log period missing - default time:", I64{15}, "minutes will be used")},
           {1, true, 1, line(1, used)},
           {1440, true, 1440, line(1440, used)},
           {1441, true, 1440, line(1441, replaced, I64{1440}, "minutes")},
           {1000000, true, 1440, line(1000000, replaced, I64{1440}, "minutes")},
           {0, false, 30, line(0, "minutes will disable periodic logging")},
           {-1, false, 30, line(-1, invalid)},
           {most_negative, false, 30, line(most_negative, invalid)}}) {
    script::reset();
    Periodic_logging_conf const conf(value.map([](I64 count) { return std::chrono::minutes(count); }));
    EXPECT_EQ(conf.is_enabled(), enabled);
    EXPECT_EQ(conf.get_period().count(), period);
    EXPECT_THAT(journal(), ElementsAre(expected));
  }
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
