// SPDX-License-Identifier: Apache-2.0
// The configuration file: what is read, what is refused, and with which words.
#include "flashwatch/config/config_reader.h"

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>

#include "flashwatch/config/file_reader.h"
#include "tests/flashwatch/mocks/text_reader.h"
#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

Config_reader read(std::string const& text) { return {"/etc/flashwatch.json", std::make_unique<Text_reader>(text)}; }

std::string error_of(std::function<void()> const& action) {
  try {
    action();
  } catch (std::exception const& error) {
    return error.what();
  }
  return "no exception";
}

struct AConfigReader : ::testing::Test {
  void SetUp() override { script::reset(); }
};

TEST_F(AConfigReader, TakesAllThreeSettingsAndIgnoresOtherMembers) {
  auto const config = read(R"({"x": [1], "pm_instance_id": "pm", "own_instance_id": "own", "log_period": 7})");

  EXPECT_EQ(config.get_pm_instance_id(), "pm");
  EXPECT_EQ(config.get_own_instance_id().value(), "own");
  EXPECT_EQ(config.get_log_period().value().count(), 7);
  EXPECT_THAT(script::journal(), ElementsAre());
}

TEST_F(AConfigReader, GoesOnWithoutTheOptionalSettings) {
  auto const config = read(R"({"pm_instance_id": "pm"})");

  EXPECT_FALSE(config.get_own_instance_id());
  EXPECT_FALSE(config.get_log_period());
  std::string const key_error = "[json.exception.out_of_range.403] key '";
  EXPECT_THAT(script::log(), ElementsAre(script::warning("Exception:", key_error + "own_instance_id' not found",
                                                         "caught while reading parameter", "own_instance_id"),
                                         script::debug("Exception:", key_error + "log_period' not found",
                                                       "caught while reading parameter", "log_period")));
}

TEST_F(AConfigReader, WarnsOfAnOwnInstanceIdThatIsEmptyOrNotAText) {
  EXPECT_FALSE(read(R"({"pm_instance_id": "pm", "own_instance_id": "", "log_period": 1})").get_own_instance_id());
  EXPECT_FALSE(read(R"({"pm_instance_id": "pm", "own_instance_id": 5, "log_period": 1})").get_own_instance_id());

  EXPECT_THAT(script::log(), ElementsAre(script::warning("Exception:", "Empty own_instance_id in configuration file",
                                                         "caught while reading parameter", "own_instance_id"),
                                         HasSubstr("type must be string, but is number")));
}

TEST_F(AConfigReader, RefusesAnUnusablePmInstanceId) {
  EXPECT_EQ(error_of([] { read(R"({"pm_instance_id": ""})"); }), "Empty pm_instance_id in configuration file");
  EXPECT_THROW(read(R"({"pm_instance_id": null})"), nlohmann::json::type_error);
  EXPECT_THROW(read(R"({"own_instance_id": "own"})"), nlohmann::json::out_of_range);
  EXPECT_THROW(read("[]"), nlohmann::json::type_error);
  EXPECT_THAT(script::log(), ElementsAre());
}

struct Log_period_case {
  std::string json;
  boost::optional<std::int64_t> minutes;
  std::string error;  ///< part of the debug line's text when there are no minutes
};

TEST_F(AConfigReader, TakesEveryNumberAsLogPeriodButTheTwoExtremes) {
  std::string const too_high = "\"Value 9223372036854775807out of range\"";
  std::string const too_low = "\"Value -9223372036854775808out of range\"";
  std::string const wrong_type = "type must be number, but is ";
  for (auto const& [json, minutes, error] : std::vector<Log_period_case>{
           {"0", 0, ""},
           {"-5", -5, ""},
           {"100000", 100000, ""},
           {"2.9", 2, ""},
           {"-2.9", -2, ""},
           {"9223372036854775806", 9223372036854775806, ""},
           {"-9223372036854775807", -9223372036854775807, ""},
           {"18446744073709551615", -1, ""},
           {"9223372036854774784.0", 9223372036854774784, ""},
           {"9223372036854775807", boost::none, too_high},
           {"9223372036854775808", boost::none, too_low},
           {"-9223372036854775808", boost::none, too_low},
           {"9223372036854775808.0", boost::none, too_high},
           {"1e300", boost::none, too_high},
           {"-1e300", boost::none, too_low},
           {"true", boost::none, wrong_type + "boolean"},
           {"\"10\"", boost::none, wrong_type + "string"},
           {"null", boost::none, wrong_type + "null"},
           {"[1]", boost::none, wrong_type + "array"},
       }) {
    SCOPED_TRACE(json);
    script::reset();
    auto const period =
        read(R"({"pm_instance_id": "pm", "own_instance_id": "own", "log_period": )" + json + "}").get_log_period();

    ASSERT_EQ(period.has_value(), minutes.has_value());
    if (minutes) {
      EXPECT_EQ(period->count(), *minutes);
      EXPECT_THAT(script::log(), ElementsAre());
    } else {
      EXPECT_THAT(script::log(), ElementsAre(HasSubstr(error)));
      EXPECT_THAT(script::log(), ElementsAre(::testing::StartsWith("log  5 \"Exception:\" ")));
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

TEST_F(AFileReader, ReturnsTheTextOfAValidFileUnchanged) {
  for (std::string const text : {" {\"a\" : 1}\n", "[]", "\xEF\xBB\xBF{}", "7"}) {
    EXPECT_EQ(get(file(text)), text);
  }
}

TEST_F(AFileReader, NamesTheFileThatIsMissingOrNotJson) {
  std::string const missing = folder_ / "none.json";
  EXPECT_EQ(error_of([&] { get(missing); }), "Json configuration file: " + missing + " does not exist");
  for (std::string const text : {"", "{", "{} {}", "{'a': 1}", "1e400", "\"\xFF\""}) {
    auto const path = file(text);
    EXPECT_EQ(error_of([&] { get(path); }), "Invalid json configuration file: " + path) << text;
  }
  EXPECT_EQ(error_of([&] { get(folder_); }), "Invalid json configuration file: " + folder_.string());
}

TEST_F(AFileReader, SurvivesAFileNestedAHundredThousandDeep) {
  std::string const deep = std::string(100000, '[') + std::string(100000, ']');
  auto const path = file(R"({"pm_instance_id": "pm", "own_instance_id": "own", "log_period": 1, "x": )" + deep + "}");
  EXPECT_EQ(Config_reader(path, std::make_unique<File_reader>()).get_pm_instance_id(), "pm");
  EXPECT_THROW(get(file(std::string(100000, '['))), std::runtime_error);
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
