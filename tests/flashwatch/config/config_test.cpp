// SPDX-License-Identifier: Apache-2.0
// Both files of the configuration: what is read, what is refused, and with which words.
#include <cstdio>
#include <fstream>
#include <tuple>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "flashwatch/config/application_scid_converter.h"
#include "flashwatch/config/config_reader.h"
#include "flashwatch/config/file_reader.h"
#include "flashwatch/config/periodic_logging_conf.h"
#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using Texts = std::vector<std::pair<std::string, std::string>>;

std::string const no_key = "[json.exception.out_of_range.403] key '";
std::string const wrong_type = "[json.exception.type_error.302] type must be ";

struct AConfiguration : testing::Test {
  ~AConfiguration() override { std::remove(path_.c_str()); }

  std::string file(std::string const& text) const {
    script::reset();
    std::ofstream(path_) << text;
    return path_;
  }
  Config_reader config(std::string const& text) const { return {file(text), std::make_unique<File_reader>()}; }
  static std::string error_of(std::function<void()> const& action) {
    try {
      action();
    } catch (std::exception const& error) {
      return error.what();
    }
    return "none";
  }
  static std::string caught(std::string const& level, std::string const& what, std::string const& where) {
    return level + " 'Exception:' '" + what + "' 'caught while reading " + where + "'\n";
  }

  std::string const path_ = testing::TempDir() + "flashwatch-config-" + std::to_string(getpid());
};

TEST_F(AConfiguration, IsReturnedUnchangedWhenItIsValidAndNamedOtherwise) {
  auto const get = [](std::string const& path) { return File_reader().get_content(path); };
  std::string const deep = std::string(100000, '[') + std::string(100000, ']');
  for (auto const& text : {std::string("\xEF\xBB\xBF {\"a\" : 1}\n"), std::string("7"), deep}) {
    EXPECT_EQ(get(file(text)), text);
  }
  std::string const invalid = "Invalid json configuration file: ";
  for (auto const* const text : {"", "{", "{} {}", "{'a': 1}", "1e400", "\"\xFF\""}) {
    EXPECT_EQ(error_of([&] { get(file(text)); }), invalid + path_) << text;
  }
  EXPECT_EQ(error_of([&] { get("/tmp"); }), invalid + "/tmp");
  EXPECT_EQ(error_of([&] { get("/none"); }), "Json configuration file: /none does not exist");
}

TEST_F(AConfiguration, HasThreeSettingsOfWhichTwoMayBeMissing) {
  auto const own = [](auto const& what) { return caught("warn", what, "parameter' 'own_instance_id"); };
  auto const no_period = caught("debug", no_key + "log_period' not found", "parameter' 'log_period");
  for (auto const& [members, lines] :
       Texts{{R"("x": [1], "own_instance_id": "own", "log_period": 7)", ""},
             {R"("x": 2)", own(no_key + "own_instance_id' not found") + no_period},
             {R"("own_instance_id": "")", own("Empty own_instance_id in configuration file") + no_period},
             {R"("own_instance_id": 5)", own(wrong_type + "string, but is number") + no_period}}) {
    auto const read = config(R"({"pm_instance_id": "pm", )" + members + "}");
    EXPECT_EQ(read.get_pm_instance_id(), "pm");
    EXPECT_EQ(read.get_own_instance_id().value_or("none"), lines.empty() ? "own" : "none");
    EXPECT_EQ(read.get_log_period().has_value(), lines.empty());
    EXPECT_EQ(script::journal(), lines);
  }
  for (auto const& [text, error] : Texts{{R"({"pm_instance_id": ""})", "Empty pm_instance_id in configuration file"},
                                         {R"({"pm_instance_id": null})", wrong_type + "string, but is null"},
                                         {R"({"own_instance_id": "own"})", no_key + "pm_instance_id' not found"},
                                         {"[]", "[json.exception.type_error.304] cannot use at() with array"}}) {
    EXPECT_EQ(error_of([&, &text = text] { config(text); }), error);
    EXPECT_EQ(script::journal(), "");
  }
}

TEST_F(AConfiguration, DecidesThePeriodOfTheLog) {
  std::string const used = "minutes will be used for periodic logging'\n";
  std::string const replaced = "minutes will be replaced by maximum allowed:' i64:1440 'minutes'\n";
  std::string const invalid = "minutes is invalid - periodic logging will be disabled'\n";
  std::string const too_high = "Value 9223372036854775807out of range";
  std::string const too_low = "Value -9223372036854775808out of range";
  for (auto const& [json, minutes, line] : std::vector<std::tuple<std::string, int, std::string>>{
           {"1", 1, "i64:1 '" + used},
           {"2.9", 2, "i64:2 '" + used},
           {"1440", 1440, "i64:1440 '" + used},
           {"1441", 1440, "i64:1441 '" + replaced},
           {"9223372036854775806", 1440, "i64:9223372036854775806 '" + replaced},
           {"0", 30, "i64:0 'minutes will disable periodic logging'\n"},
           {"-2.9", 30, "i64:-2 '" + invalid},
           {"18446744073709551615", 30, "i64:-1 '" + invalid},
           {"-9223372036854775807", 30, "i64:-9223372036854775807 '" + invalid},
           {"9223372036854775807", 15, too_high},
           {"9223372036854775808", 15, too_low},
           {"-9223372036854775808", 15, too_low},
           {"9223372036854775808.0", 15, too_high},
           {"-1e300", 15, too_low},
           {"true", 15, wrong_type + "number, but is boolean"},
           {"\"10\"", 15, wrong_type + "number, but is string"}}) {
    auto const read = config(R"({"pm_instance_id": "pm", "own_instance_id": "own", "log_period": )" + json + "}");
    Periodic_logging_conf const conf(read.get_log_period());
    EXPECT_EQ(conf.is_enabled(), minutes != 30) << json;
    EXPECT_EQ(conf.get_period().count(), minutes) << json;
    EXPECT_EQ(script::journal(),
              minutes != 15 ? "debug 'Configured log period:' " + line
                            : caught("debug", line, "parameter' 'log_period") +
                                  "debug 'Log period missing - default time:' i64:15 'minutes will be used'\n");
  }
}

TEST_F(AConfiguration, MapsApplicationsToScids) {
  std::string const loaded = "debug 'SCID mapping of applications loaded, content:'\n";
  auto const bad_entry = [](auto const& what) { return caught("warn", what, "mapping entry"); };
  auto const bad_file = [](auto const& what) { return caught("warn", what, "scid mapping"); };
  for (auto const& [text, lines] :
       Texts{{R"({"mappings": [{"app_name": "nav", "scid": 4660, "x": 0}, {"app_name": "nav", "scid": 9},
                {"app_name": "", "scid": 0}, {"app_name": "a", "scid": -1}, {"app_name": "b", "scid": 7.9},
                {"app_name": "c", "scid": -1e300}, {"app_name": "d", "scid": 18446744073709551616},
                {"app_name": "e", "scid": 18446744073709549568.0}]})",
              loaded + R"(debug 'Application ID:' '' 'SCID:' u64:0
debug 'Application ID:' 'a' 'SCID:' u64:18446744073709551615
debug 'Application ID:' 'b' 'SCID:' u64:7
debug 'Application ID:' 'c' 'SCID:' u64:0
debug 'Application ID:' 'd' 'SCID:' u64:18446744073709551615
debug 'Application ID:' 'e' 'SCID:' u64:18446744073709549568
debug 'Application ID:' 'nav' 'SCID:' u64:4660
)"},
             {R"({"mappings": [5, {"app_name": "i"}, {"scid": 1}, {"app_name": 1, "scid": 1},
                {"app_name": "j", "scid": "1"}, {"app_name": "k", "scid": true}, {"app_name": "nav", "scid": 1}]})",
              bad_entry("[json.exception.type_error.304] cannot use at() with number") +
                  bad_entry(no_key + "scid' not found") + bad_entry(no_key + "app_name' not found") +
                  bad_entry(wrong_type + "string, but is number") + bad_entry(wrong_type + "number, but is string") +
                  bad_entry(wrong_type + "number, but is boolean") + loaded +
                  "debug 'Application ID:' 'nav' 'SCID:' u64:1\n"},
             {R"({"mappings": {"x": {"app_name": "nav", "scid": 1}}})",
              loaded + "debug 'Application ID:' 'nav' 'SCID:' u64:1\n"},
             {R"({"mappings": 5})", bad_entry("[json.exception.type_error.304] cannot use at() with number") + loaded},
             {R"({"mappings": null})", loaded},
             {"{}", bad_file(no_key + "mappings' not found") + loaded},
             {"[]", bad_file("[json.exception.type_error.304] cannot use at() with array") + loaded},
             {"", bad_file("Invalid json configuration file: " + path_) + loaded}}) {
    Application_scid_converter(file(text), std::make_unique<File_reader>());
    EXPECT_EQ(script::journal(), lines) << text;
  }
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
