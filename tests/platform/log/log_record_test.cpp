// SPDX-License-Identifier: Apache-2.0
// What a record is made of when it reaches a sink: its pieces with their types, when it is made at all, where it is
// cut.
#include <array>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ara/log/logging.h"
#include "platform/src/log/installed_sink.h"
#include "platform/src/log/recording_sink.h"

namespace {

using namespace std::string_literals;
using ara::log::LogLevel;
using ara::log::LogStream;
using linux_platform::log::Installed_sink;
using linux_platform::log::Recorded_piece;
using linux_platform::log::Recording_sink;
using testing::ElementsAre;

class ARecord : public testing::Test {
 protected:
  template <typename Insertions>
  std::vector<Recorded_piece> pieces(Insertions insert) {
    {
      auto stream = ara::log::LogInfo();
      insert(stream);
    }
    auto records = sink_.take();
    return records.size() == 1 ? records.front().pieces : std::vector<Recorded_piece>{};
  }

  Recording_sink sink_;
  Installed_sink installed_{sink_};
};

TEST_F(ARecord, KeepsThePiecesWithTheirTypes) {
  // A plain character has a sign on x86 and none on Arm.
  using Character = std::conditional_t<std::is_signed_v<char>, std::int8_t, std::uint8_t>;
  auto const all = pieces([](LogStream& s) {
    s << true << std::int8_t{-1} << 'A' << std::uint8_t{255} << std::int16_t{-2} << std::uint16_t{2} << -3 << 3U
      << std::int64_t{-4} << std::uint64_t{4} << 1.5F << 2.5 << "c"
      << "a\0b"s << static_cast<char const*>(nullptr) << std::string_view();
  });

  EXPECT_THAT(
      all, ElementsAre(true, std::int8_t{-1}, Character{'A'}, std::uint8_t{255}, std::int16_t{-2}, std::uint16_t{2},
                       std::int32_t{-3}, 3U, std::int64_t{-4}, std::uint64_t{4}, 1.5F, 2.5, "c"s, "a\0b"s, ""s, ""s));
}

TEST_F(ARecord, IsHandedOverOnceByFlushAndNotWhenEmpty) {
  {
    auto stream = ara::log::CreateLogger("DATA", "data").LogError();
    stream << 1;
    stream.Flush();
    stream.Flush();
  }

  auto const records = sink_.take();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].context_id, "DATA");
  EXPECT_EQ(records[0].level, LogLevel::kError);
}

struct Cut {
  char const* what;
  std::vector<std::string> inserted;
  std::vector<std::string> expected;
};

// A text takes 7 of the 1,390 bytes beside its own; the mark takes 5 in a text that is cut, 12 on its own.
TEST_F(ARecord, IsCutAtACharacterWithAMark) {
  auto const x = [](std::size_t size) { return std::string(size, 'x'); };
  for (auto const& [what, inserted, expected] : {
           Cut{"fits exactly", {x(683), x(693)}, {x(683), x(693)}},
           Cut{"full, and one more", {x(683), x(693), ""}, {x(683), x(688) + "[cut]"}},
           Cut{"one byte too long", {x(683), x(694)}, {x(683), x(688) + "[cut]"}},
           Cut{"in a two-byte character", {x(683), x(687) + "\u00e9" + x(9)}, {x(683), x(687) + "[cut]"}},
           Cut{"in a four-byte character", {x(683), x(685) + "\U0001F600" + x(9)}, {x(683), x(685) + "[cut]"}},
           Cut{"not UTF-8", {x(683), std::string(2000, '\x80')}, {x(683), std::string(688, '\x80') + "[cut]"}},
           Cut{"no room for another text", {x(1371), x(6), "y"}, {x(1371), "[cut]"}},
           Cut{"no room even for the mark", {x(1372), x(99)}, {x(1372) + "[cut]"}},
           Cut{"far too long", {x(100'000), "y"}, {x(1378) + "[cut]"}},
       }) {
    auto const cut = pieces([&inserted = inserted](LogStream& s) {
      for (auto const& text : inserted) {
        s << text;
      }
    });
    EXPECT_EQ(cut, std::vector<Recorded_piece>(expected.begin(), expected.end())) << what;
  }
}

TEST_F(ARecord, HasAtMost255PiecesAndTheLastOneMarksTheCut) {
  auto const cut = pieces([](LogStream& s) {
    for (int i = 0; i < 256; ++i) {
      s << false;
    }
  });

  ASSERT_EQ(cut.size(), 255U);
  EXPECT_EQ(cut[253], Recorded_piece(false));
  EXPECT_EQ(cut[254], Recorded_piece("[cut]"s));
}

TEST(ADisabledStream, StoresNothing) {
  alignas(LogStream) std::array<unsigned char, sizeof(LogStream)> memory{};
  auto* const stream = new (memory.data()) LogStream(nullptr, LogLevel::kInfo);
  auto const before = memory;

  *stream << "text" << 1 << 2.5 << true << "string"s << 1.5F << 'c' << 8U;

  EXPECT_EQ(memory, before);
  std::destroy_at(stream);
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

}  // namespace
