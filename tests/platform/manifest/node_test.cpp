// SPDX-License-Identifier: Apache-2.0
// Every reading operation of a manifest value, against every kind of value: what it yields and how it complains.
#include <functional>
#include <limits>

#include <nlohmann/json.hpp>

#include "tests/platform/manifest/scratch_manifest.h"

namespace {

using linux_platform::manifest::Node;
using std::chrono::milliseconds;
constexpr auto max_64 = std::numeric_limits<std::uint64_t>::max();

Node node_of(char const* text) {
  auto document = std::make_shared<nlohmann::json const>(nlohmann::json::parse(text));
  auto const& value = *document;
  return {std::move(document), value, "m.json", "here"};
}

struct Reading {
  char const* json;
  std::function<void(Node const&)> read;
  std::string complaint;  ///< empty: the value is accepted
};

void number_0_to_10(Node const& node) { node.number(0, 10); }
void number_any(Node const& node) { node.number(0, max_64); }
void text(Node const& node) { node.text(); }
void boolean(Node const& node) { node.boolean(); }

TEST(AManifestValue, IsReadAsItsKindAndNoOther) {
  std::string const range = "machine manifest m.json: here must be an integer from 0 to 10, but is ";
  std::string const a_text = "machine manifest m.json: here must be a text, but is ";
  std::vector<Reading> const readings = {
      {"10", number_0_to_10, ""},
      {"0", number_0_to_10, ""},
      {"-0", number_0_to_10, ""},
      {"11", number_0_to_10, range + "11"},
      {"-1", number_0_to_10, range + "-1"},
      {"1.0", number_0_to_10, range + "1.0"},
      {"1e300", number_0_to_10, range + "1e+300"},
      {"true", number_0_to_10, range + "true"},
      {"null", number_0_to_10, range + "null"},
      {"\"5\"", number_0_to_10, range + "the text \"5\""},
      {"18446744073709551615", number_any, ""},
      {"18446744073709551616", number_any,
       "machine manifest m.json: here must be an integer from 0 to 18446744073709551615, but is "
       "1.8446744073709552e+19"},
      {"\"\"", text, ""},
      {"[1]", text, a_text + "an array"},
      {"{}", text, a_text + "an object"},
      {"1", boolean, "machine manifest m.json: here must be true or false, but is 1"},
      {"false", boolean, ""},
      {"[]", [](Node const& node) { node.member("x"); },
       "machine manifest m.json: here must be an object, but is an array"},
      {"{}", [](Node const& node) { node.member("x"); }, "machine manifest m.json: here.x is missing"},
      {"{}", [](Node const& node) { node.elements(); },
       "machine manifest m.json: here must be an array, but is an object"},
      {"7", [](Node const& node) { node.members(); }, "machine manifest m.json: here must be an object, but is 7"},
      {R"({"a": 1, "b": 2})",
       [](Node const& node) {
         node.allow_only({"b", "a"});
       },
       ""},
      {R"({"a": 1, "B": 2})",
       [](Node const& node) {
         node.allow_only({"a", "b"});
       },
       "machine manifest m.json: here.B is not a known member (known: a, b)"},
      {R"({"a": [0, {"b.c\n": true}]})",
       [](Node const& node) { node.member("a").elements().at(1).member("b.c\n").text(); },
       "machine manifest m.json: here.a[1][\"b.c\\x0a\"] must be a text, but is true"},
      {"[9]", [](Node const& node) { node.elements().at(0).milliseconds(milliseconds(10), milliseconds(20)); },
       "machine manifest m.json: here[0] must be an integer from 10 to 20, but is 9"},
  };
  for (auto const& reading : readings) {
    EXPECT_EQ(complaint_of([&] { reading.read(node_of(reading.json)); }), reading.complaint) << reading.json;
  }
}

TEST(AManifestValue, YieldsWhatTheFileSays) {
  auto const node = node_of(R"({"z": 18446744073709551615, "a": ["ä", true], "ms": 90000})");

  EXPECT_EQ(node.member("z").number(0, max_64), max_64);
  EXPECT_EQ(node.member("a").elements().at(0).text(), "ä");
  EXPECT_TRUE(node.member("a").elements().at(1).boolean());
  EXPECT_EQ(node.member("ms").milliseconds(milliseconds(1), milliseconds(90000)), milliseconds(90000));
  EXPECT_FALSE(node.find("absent").has_value());
  EXPECT_EQ(node.members().front().first, "a");
  EXPECT_EQ(node.members().back().second.path(), "here.z");
}

TEST(AComplaint, CutsALongTextAtACharacterBoundary) {
  auto const node = node_of(("\"x" + std::string(79, 'y') + "ä" + std::string(5000, 'z') + "\"").c_str());

  EXPECT_EQ(
      complaint_of([&] { node.boolean(); }),
      "machine manifest m.json: here must be true or false, but is the text \"x" + std::string(79, 'y') + "...\"");
}

}  // namespace
