// SPDX-License-Identifier: Apache-2.0
// Finding the statistics service, waiting for it, giving up on it, and reading it.
#include "flashwatch/stats/io_stats_extraction.h"

#include "tarn/com/exceptions.h"
#include "tests/flashwatch/room_test.h"

namespace orvel::flashwatch::diagnostics {
namespace {

struct AStatisticsClient : Room_test {
  static std::string found(U64 count) { return debug("FindService(\"", "pm", "\")->", count); }
  static void reply_with(persistency::statistics::get_KVS_statistics::Output const& output) {
    answers().reply.clear();
    tarn::com::cpp_binding::Serializer out(answers().reply, {});
    persistency::write_kvs_statistics(out, output);
  }

  std::atomic<bool> stop_{false};
  Io_stats_extraction client_{"pm", stop_};
};

TEST_F(AStatisticsClient, SearchesOnceASecondAndTakesTheFirstInstance) {
  on("posix.sleep", [sleeps = std::make_shared<int>(0)] {
    if (++*sleeps == 3) {
      answers().offered = {{7}, {9}};
    }
  });
  EXPECT_THAT(journal(), IsEmpty());
  client_.init_proxy();
  std::vector<std::string> const search{"com.Instance_id(pm)", "com.FindService(statistics, pm)"};
  std::vector<std::string> expected;
  for (int attempt = 0; attempt < 3; ++attempt) {
    expected.insert(expected.end(), {search[0], search[1], found(0), "posix.sleep(1)"});
  }
  expected.insert(expected.end(), {search[0], search[1], found(2), "com.Proxy(statistics, 7)"});
  EXPECT_EQ(journal(), expected);
}

TEST_F(AStatisticsClient, GivesUpWhenAStopIsRequestedAndHasNoProxyThen) {
  stop_ = true;
  client_.init_proxy();
  EXPECT_THAT(script::log(), ElementsAre(found(0), debug("Find proxy operation interrupted")));
  EXPECT_THROW(client_.get_KVS_statistics(), tarn::com::Service_not_available_exception);
}

TEST_F(AStatisticsClient, ReadsAndLogsEveryApplicationAlsoAfterAFailedCall) {
  answers().offered = {{1}};
  client_.init_proxy();
  answers().reply_failure = std::make_exception_ptr(tarn::com::Transport_exception(7, "cut off"));
  EXPECT_THROW(client_.get_KVS_statistics(), tarn::com::Transport_exception);

  answers().reply_failure = nullptr;
  reply_with({{"b", {"media", 11, 12, 13, 14, 15, 16, 17, 18}}, {"a", {"nav", 1, 2, 3, 4, 5, 6, 7, 8}}});
  auto const line = [](std::string const& id, U64 first) {
    return debug("Received kvs stats for", id, "session_read:", first, "session_write:", first + 1,
                 "session_setvalue:", first + 2, "total_read:", first + 3, "total_write:", first + 4,
                 "total_setvalue:", first + 5);
  };
  auto const stats = client_.get_KVS_statistics();
  EXPECT_EQ(stats.at("b").application_id, "media");
  EXPECT_EQ(stats.at("b").hard_limit, 18);
  reply_with({});
  EXPECT_TRUE(client_.get_KVS_statistics().empty());
  EXPECT_THAT(script::log(), ElementsAre(found(1), line("nav", 1), line("media", 11)));
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
