// SPDX-License-Identifier: Apache-2.0
// What a record is made of when it reaches a sink, when it is made at all, where it is cut; and its line on the
// console, readable, and never able to steer a terminal.
#include <array>
#include <chrono>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ara/log/logging.h"
#include "platform/src/log/console_line.h"
#include "platform/src/log/installed_sink.h"
#include "platform/src/log/recording_sink.h"

namespace {

using namespace std::string_literals;
using namespace linux_platform::log;
using ara::log::LogLevel;
using Texts = std::vector<std::string>;

struct ARecord : testing::Test {
  /// Of the one record that the inserted values make.
  template <typename Values>
  std::vector<Recorded_piece> pieces_of(Values const& inserted) {
    {
      auto stream = ara::log::LogInfo();
      for (auto const& value : inserted) {
        stream << value;
      }
    }
    return sink.take().at(0).pieces;
  }

  Recording_sink sink;
  Installed_sink const installed{sink};
};

TEST_F(ARecord, IsHandedOverOnceByFlushAndNotWhenEmpty) {
  {
    auto stream = ara::log::CreateLogger("DATA", "data").LogError();
    stream << 1;
    stream.Flush();
    stream.Flush();
  }
  auto const records = sink.take();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].context_id, "DATA");
  EXPECT_EQ(records[0].level, LogLevel::kError);
}

// A text takes 7 of the 1,390 bytes beside its own; the mark takes 5 in a text that is cut, 12 on its own.
TEST_F(ARecord, IsCutAtACharacterWithAMark) {
  auto const x = [](std::size_t size) { return std::string(size, 'x'); };
  for (auto const& [what, inserted, expected] : std::vector<std::tuple<char const*, Texts, Texts>>{
           {"fits exactly", {x(683), x(693)}, {x(683), x(693)}},
           {"full, and one more", {x(683), x(693), ""}, {x(683), x(688) + "[cut]"}},
           {"one byte too long", {x(683), x(694)}, {x(683), x(688) + "[cut]"}},
           {"in a two-byte character", {x(683), x(687) + "\u00e9" + x(9)}, {x(683), x(687) + "[cut]"}},
           {"in a four-byte character", {x(683), x(685) + "\U0001F600" + x(9)}, {x(683), x(685) + "[cut]"}},
           {"not UTF-8", {x(683), std::string(2000, '\x80')}, {x(683), std::string(688, '\x80') + "[cut]"}},
           {"no room for another text", {x(1371), x(6), "y"}, {x(1371), "[cut]"}},
           {"no room even for the mark", {x(1372), x(99)}, {x(1372) + "[cut]"}},
           {"far too long", {x(100'000), "y"}, {x(1378) + "[cut]"}}}) {
    EXPECT_EQ(pieces_of(inserted), std::vector<Recorded_piece>(expected.begin(), expected.end())) << what;
  }
  std::vector<Recorded_piece> most(254, false);
  most.emplace_back("[cut]"s);
  EXPECT_EQ(pieces_of(std::array<bool, 256>{}), most) << "its pieces are counted";
}

TEST(ALogger, IsEnabledDownToWhatTheMostCuriousSinkTakes) {
  auto& logger = ara::log::CreateLogger("LEVL", "levels");
  // Before InitLogging everything is kept for the sinks to come.
  EXPECT_TRUE(logger.IsLogEnabled(LogLevel::kVerbose));
  EXPECT_FALSE(logger.IsLogEnabled(LogLevel::kOff));

  ara::log::InitLogging("TEST", "none", LogLevel::kVerbose, ara::log::LogMode{}, "");
  EXPECT_FALSE(logger.IsLogEnabled(LogLevel::kFatal));

  Recording_sink warnings(LogLevel::kWarn);
  Recording_sink errors(LogLevel::kError);
  Installed_sink const first(warnings);
  Installed_sink const second(errors);
  EXPECT_TRUE(logger.IsLogEnabled(LogLevel::kWarn));
  EXPECT_FALSE(logger.IsLogEnabled(LogLevel::kInfo));
  logger.LogWarn() << "warning";
  logger.LogInfo() << "information";
  EXPECT_EQ(warnings.take().size(), 1U);
  EXPECT_EQ(errors.take().size(), 0U);
}

TEST(ContextIds, AreMendedToFourVisibleCharactersAndNameOneLogger) {
  for (auto const& [given, used] : {std::pair{"", "----"}, {"LONGER", "LONG"}, {"a\nb", "a?b"}, {"\xc3\xa4", "??"}}) {
    auto& logger = ara::log::CreateLogger(given, "");
    EXPECT_EQ(logger.context_id(), used);
    EXPECT_EQ(&logger, &ara::log::CreateLogger(used, "another description"));
  }
}

TEST(AConsoleLine, EscapesWhatIsNotTextAndIsCutBeforeItOutgrowsWhatAPipeTakesAtOnce) {
  auto const line_of = [](Piece const& piece) {
    Console_line line;
    line.append(piece);
    return std::string(line.finish());
  };
  for (auto const& [text, shown] : {
           std::pair{"plain ~ text"s, "plain ~ text"s},
           {"a\n\r\t\\b", R"(a\n\r\t\\b)"},
           {"\0\x1b[31m\x7f"s, R"(\x00\x1b[31m\x7f)"},
           {"\u00e9\u20ac\U0001F600", "\u00e9\u20ac\U0001F600"},
           {"\u009b31m \u00a0", "\\xc2\\x9b31m \u00a0"},
           {"\x80 \xff \xc3", R"(\x80 \xff \xc3)"},
           {"\xc0\xaf \xe0\x80\xaf \xed\xa0\x80 \xf4\x90\x80\x80",
            R"(\xc0\xaf \xe0\x80\xaf \xed\xa0\x80 \xf4\x90\x80\x80)"},
           {"\xe2\x82", R"(\xe2\x82)"},
       }) {
    EXPECT_EQ(line_of(std::string_view(text)), shown + "\n");
  }
  EXPECT_EQ(line_of(0.1F) + line_of(-std::numeric_limits<double>::infinity()), "0.1\n-inf\n");
  auto const line = line_of(std::string_view(std::string(1383, '\x1b')));
  EXPECT_LE(line.size(), 4096U);
  EXPECT_GT(line.size(), 4080U);
  EXPECT_EQ(line.substr(line.size() - 10), "\\x1b[cut]\n");
}

TEST(AConsoleLine, HasTheTimeInUtc) {
  Console_line line;
  line.append_time(std::chrono::system_clock::time_point(std::chrono::microseconds(1'795'245'600'048'678)));
  EXPECT_EQ(line.finish(), "2026-11-21T07:20:00.048678Z\n");
}

}  // namespace
