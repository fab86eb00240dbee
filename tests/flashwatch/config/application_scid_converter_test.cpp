// SPDX-License-Identifier: Apache-2.0
// The SCID table: which entries load, which numbers they get, and what is logged of it.
#include "flashwatch/config/application_scid_converter.h"

#include "flashwatch/config/file_reader.h"
#include "tests/flashwatch/mocks/neighbours.h"
#include "tests/flashwatch/room_test.h"

namespace orvel::flashwatch::diagnostics {
namespace {

struct AScidConverter : Room_test {
  static Application_scid_converter load(std::string const& mappings) {
    return {"path", std::make_unique<Text_reader>(R"({"mappings": )" + mappings + "}")};
  }
  static std::string loaded(std::string const& name, U64 scid) { return debug("Application ID:", name, "SCID:", scid); }
  static auto caught(std::string const& cause, std::string const& where) {
    return AllOf(StartsWith("log  3 \"Exception:\" "), HasSubstr(cause),
                 EndsWith("\"caught while reading " + where + '"'));
  }
  static auto bad_entry(std::string const& cause) { return caught(cause, "mapping entry"); }

  std::string const header_ = debug("SCID mapping of applications loaded, content:");
};

TEST_F(AScidConverter, LoadsTheFirstEntryOfEachNameAndListsThemByName) {
  auto const converter = load(R"([{"app_name": "nav", "scid": 4660, "x": 0}, {"app_name": "", "scid": 0},
                                  {"app_name": "media", "scid": 7}, {"app_name": "nav", "scid": 9}])");
  EXPECT_THAT(script::log(), ElementsAre(header_, loaded("", 0), loaded("media", 7), loaded("nav", 4660)));
  script::reset();
  EXPECT_EQ(converter.get_scid("nav"), 4660);
  EXPECT_EQ(converter.get_scid(""), 0);
  EXPECT_EQ(converter.get_scid("Nav"), 0);
  EXPECT_THAT(script::log(), ElementsAre(warning("SCID mapping for", "Nav", "not found, returning default value (0)")));
}

TEST_F(AScidConverter, GivesEveryNumberAValue) {
  constexpr U64 top = 18446744073709551615U;
  for (auto const& [json, scid] : std::map<std::string, U64>{{"-1", top},
                                                             {"18446744073709551615", top},
                                                             {"18446744073709551616", top},
                                                             {"7.9", 7},
                                                             {"1e300", top},
                                                             {"-0.5", 0},
                                                             {"-1e300", 0},
                                                             {"18446744073709549568.0", top - 2047}}) {
    EXPECT_EQ(load(R"([{"app_name": "nav", "scid": )" + json + "}]").get_scid("nav"), scid) << json;
  }
}

TEST_F(AScidConverter, SkipsBadEntriesAndKeepsTheOthers) {
  load(R"([5, {"app_name": "a"}, {"scid": 1}, {"app_name": 1, "scid": 1}, {"app_name": "b", "scid": "1"},
           {"app_name": "c", "scid": true}, {"app_name": "nav", "scid": 1}])");
  EXPECT_THAT(script::log(), ElementsAre(bad_entry("cannot use at() with number"), bad_entry("key 'scid' not found"),
                                         bad_entry("key 'app_name' not found"), bad_entry("must be string"),
                                         bad_entry("must be number, but is string"),
                                         bad_entry("must be number, but is boolean"), header_, loaded("nav", 1)));
}

TEST_F(AScidConverter, IteratesOverWhateverMappingsIs) {
  for (auto const& [json, lines] : std::map<std::string, std::size_t>{{"[]", 1}, {"null", 1}, {"3", 2}, {"\"x\"", 2}}) {
    script::reset();
    load(json);
    EXPECT_EQ(script::log().size(), lines) << json;
  }
  EXPECT_EQ(load(R"({"any": {"app_name": "nav", "scid": 3}})").get_scid("nav"), 3);
}

TEST_F(AScidConverter, IsEmptyWhenTheFileIsMissingOrNotATable) {
  for (std::string const text : {"[]", "{}", "7"}) {
    Application_scid_converter("path", std::make_unique<Text_reader>(text));
  }
  Application_scid_converter("/nowhere/scid.json", std::make_unique<File_reader>());
  auto const bad = caught("[json.exception.", "scid mapping");
  EXPECT_THAT(script::log(),
              ElementsAre(bad, header_, bad, header_, bad, header_,
                          warning("Exception:", "Json configuration file: /nowhere/scid.json does not exist",
                                  "caught while reading scid mapping"),
                          header_));
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
