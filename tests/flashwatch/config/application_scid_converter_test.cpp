// SPDX-License-Identifier: Apache-2.0
// The SCID table: which entries load, which numbers they get, and what is logged of it.
#include "flashwatch/config/application_scid_converter.h"

#include <gmock/gmock.h>

#include "flashwatch/config/file_reader.h"
#include "tests/flashwatch/mocks/text_reader.h"
#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

struct AnApplicationScidConverter : ::testing::Test {
  void SetUp() override { script::reset(); }

  static Application_scid_converter load(std::string const& text) {
    return {"/etc/scid_mapping.json", std::make_unique<Text_reader>(text)};
  }
  static std::string loaded(std::string const& name, std::uint64_t scid) {
    return script::debug("Application ID:", name, "SCID:", scid);
  }
  static auto bad_entry(std::string const& cause) {
    return AllOf(StartsWith("log  3 \"Exception:\" "), HasSubstr(cause),
                 EndsWith("\"caught while reading mapping entry\""));
  }

  std::string const header_ = script::debug("SCID mapping of applications loaded, content:");
};

TEST_F(AnApplicationScidConverter, LoadsTheFirstEntryOfEachNameAndListsThemByName) {
  auto const converter = load(R"({"mappings": [{"app_name": "nav", "scid": 4660, "x": 0}, {"app_name": "", "scid": 0},
                                  {"app_name": "media", "scid": 7}, {"app_name": "nav", "scid": 9}]})");
  EXPECT_THAT(script::log(), ElementsAre(header_, loaded("", 0), loaded("media", 7), loaded("nav", 4660)));

  script::reset();
  EXPECT_EQ(converter.get_scid("nav"), 4660);
  EXPECT_EQ(converter.get_scid(""), 0);
  EXPECT_THAT(script::log(), ElementsAre());
  EXPECT_EQ(converter.get_scid("Nav"), 0);
  EXPECT_THAT(script::log(),
              ElementsAre(script::warning("SCID mapping for", "Nav", "not found, returning default value (0)")));
}

TEST_F(AnApplicationScidConverter, GivesEveryNumberAValue) {
  constexpr std::uint64_t top = 18446744073709551615U;
  for (auto const& [json, scid] : std::map<std::string, std::uint64_t>{{"-1", top},
                                                                       {"18446744073709551615", top},
                                                                       {"18446744073709551616", top},
                                                                       {"7.9", 7},
                                                                       {"1e300", top},
                                                                       {"-0.5", 0},
                                                                       {"-1e300", 0},
                                                                       {"18446744073709549568.0", top - 2047}}) {
    EXPECT_EQ(load(R"({"mappings": [{"app_name": "nav", "scid": )" + json + "}]}").get_scid("nav"), scid) << json;
  }
}

TEST_F(AnApplicationScidConverter, SkipsBadEntriesAndKeepsTheOthers) {
  load(R"({"mappings": [5, {"app_name": "a"}, {"scid": 1}, {"app_name": 1, "scid": 1}, {"app_name": "b", "scid": "1"},
                        {"app_name": "c", "scid": true}, {"app_name": "nav", "scid": 1}]})");
  EXPECT_THAT(script::log(), ElementsAre(bad_entry("cannot use at() with number"), bad_entry("key 'scid' not found"),
                                         bad_entry("key 'app_name' not found"), bad_entry("must be string"),
                                         bad_entry("must be number, but is string"),
                                         bad_entry("must be number, but is boolean"), header_, loaded("nav", 1)));
}

TEST_F(AnApplicationScidConverter, IteratesOverWhateverMappingsIs) {
  for (auto const& [json, lines] : std::map<std::string, std::size_t>{{"[]", 1}, {"null", 1}, {"3", 2}, {"\"x\"", 2}}) {
    script::reset();
    load(R"({"mappings": )" + json + "}");
    EXPECT_EQ(script::log().size(), lines) << json;
    EXPECT_EQ(script::log().back(), header_);
  }
  EXPECT_EQ(load(R"({"mappings": {"any": {"app_name": "nav", "scid": 3}}})").get_scid("nav"), 3);
}

TEST_F(AnApplicationScidConverter, IsEmptyWhenTheFileIsMissingOrNotATable) {
  for (std::string const text : {"[]", "{}", "7"}) {
    script::reset();
    load(text);
    EXPECT_THAT(script::log(), ElementsAre(AllOf(StartsWith("log  3 \"Exception:\" \"[json.exception."),
                                                 EndsWith("\"caught while reading scid mapping\"")),
                                           header_));
  }
  script::reset();
  Application_scid_converter const converter("/nowhere/scid.json", std::make_unique<File_reader>());
  EXPECT_THAT(script::log(),
              ElementsAre(script::warning("Exception:", "Json configuration file: /nowhere/scid.json does not exist",
                                          "caught while reading scid mapping"),
                          header_));
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
