// SPDX-License-Identifier: Apache-2.0
// Nodes that find and call each other through proxies and skeletons: what comes and goes, what is refused, methods
// that call on, and ends that come in time.
#include <chrono>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/src/log/installed_sink.h"
#include "platform/src/log/recording_sink.h"
#include "tarn/com/cpp_binding/proxy_base.h"
#include "tarn/com/cpp_binding/skeleton_base.h"
#include "tarn/com/exceptions.h"
#include "tests/platform/com/gate.h"
#include "tests/platform/com/node.h"

namespace linux_platform::com {
namespace {

using namespace std::chrono_literals;
using orvel::com::runtime::Instance_id;
using tarn::com::Invalid_argument_exception;
using tarn::com::Method_call_processing_mode;
using tarn::com::Service_not_available_exception;
using tarn::com::Transport_exception;
using tarn::com::cpp_binding::Deserializer;
using tarn::com::cpp_binding::Serializer;
using tarn::com::cpp_binding::Service_handle;
using testing_support::Gate;
using testing_support::node;
using testing_support::On_node;

std::exception_ptr no_error(std::uint8_t /*code*/, std::vector<std::uint8_t> const& /*payload*/) { return nullptr; }

/// Both interfaces of the test have one method that turns one number into another.
class Number_proxy : public tarn::com::cpp_binding::Proxy_base {
 public:
  explicit Number_proxy(std::string const& interface, Service_handle handle = {1})
      : Proxy_base(interface, handle), id_(method_id("named")) {}
  static std::vector<Service_handle> find(std::string const& interface, std::string const& instance) {
    return Proxy_base::find(interface, Instance_id(instance));
  }
  ara::com::Future<std::uint32_t> ask(std::uint32_t number) const {
    return call<std::uint32_t>(
        id_, [=](Serializer& out) { out.write_u32(number); }, [](Deserializer& in) { return in.read_u32(); },
        &no_error);
  }

 private:
  std::uint16_t const id_;
};

class Number_skeleton : public tarn::com::cpp_binding::Skeleton_base {
 public:
  Number_skeleton(std::string const& interface, std::string const& instance,
                  std::function<std::uint32_t(std::uint32_t)> const& method,
                  Method_call_processing_mode mode = Method_call_processing_mode::kEvent)
      : Skeleton_base(interface, Instance_id(instance), mode) {
    register_method(method_id("named"),
                    [=](Deserializer& in, Serializer& out) { out.write_u32(method(in.read_u32())); });
  }
};

std::uint32_t successor(std::uint32_t number) { return number + 1; }

template <typename Made, typename... Arguments>
std::unique_ptr<Made> make_on(std::shared_ptr<Runtime> const& runtime, Arguments&&... arguments) {
  On_node const on(runtime);
  return std::make_unique<Made>(std::forward<Arguments>(arguments)...);
}

std::vector<Service_handle> find_on(std::shared_ptr<Runtime> const& runtime, std::string const& instance) {
  On_node const on(runtime);
  return Number_proxy::find("test::Echo", instance);
}

void await(std::shared_ptr<Runtime> const& runtime, char const* interface, std::uint16_t instance = 1) {
  while (runtime->find(*runtime->deployment(interface), instance).empty()) {
  }
}

TEST(AService, IsFoundCalledWithdrawnAndBackForTheSameProxy) {
  log::Recording_sink sink;
  log::Installed_sink const installed(sink);
  auto const server = node(1);
  auto const client = node(2);
  EXPECT_TRUE(find_on(client, "one").empty());
  auto const skeleton = make_on<Number_skeleton>(server, "test::Echo", "one", successor);
  auto const proxy = make_on<Number_proxy>(client, "test::Echo");
  EXPECT_THROW(proxy->ask(1).get(), Service_not_available_exception);
  for (int round = 0; round < 3; ++round) {
    skeleton->OfferService();
    skeleton->OfferService();
    while (find_on(client, round == 0 ? "1" : "one").empty()) {
    }
    EXPECT_TRUE(find_on(client, "other").empty());
    EXPECT_EQ(proxy->ask(41).get(), 42U);
    skeleton->StopOfferService();
    skeleton->StopOfferService();
    for (bool there = true; there;) {
      try {
        proxy->ask(41).get();
      } catch (Service_not_available_exception const& error) {
        EXPECT_STREQ(error.what(), "method named of test::Echo: instance 1 is not offered");
        there = false;
      } catch (Transport_exception const&) {
        // The stop has not arrived yet, but the server knows the service no more.
      }
    }
  }
  auto const records = sink.take();
  ASSERT_EQ(records.size(), 6U) << "one for each offer and each withdrawal";
  for (auto const& record : records) {
    EXPECT_EQ(record.context_id, "COMM");
    EXPECT_EQ(std::get<std::string>(record.pieces.at(1)), "test::Echo");
  }
}

TEST(AService, IsBackForTheSameProxyAfterItsProcessStartedAnew) {
  auto const client = node(2);
  auto const proxy = make_on<Number_proxy>(client, "test::Echo");
  for (int round = 0; round < 2; ++round) {
    auto const server = node(1);
    auto const skeleton = make_on<Number_skeleton>(server, "test::Echo", "one", successor);
    skeleton->OfferService();
    std::uint32_t answer = 0;
    while (answer == 0) {
      try {
        answer = proxy->ask(41).get();
      } catch (Service_not_available_exception const&) {
      }
    }
    EXPECT_EQ(answer, 42U);
    server->stop();
  }
}

TEST(AnInstanceIdentifier, IsRefusedAndLoggedWhenItMeansNothing) {
  log::Recording_sink sink;
  log::Installed_sink const installed(sink);
  auto const server = node(1);
  for (char const* text : {"", "0", "65535", "70000", "-1", "+1", " 1", "1x", "0x1", "nobody"}) {
    try {
      make_on<Instance_id>(server, text);
      ADD_FAILURE() << text << " was accepted";
    } catch (Invalid_argument_exception const& error) {
      EXPECT_NE(std::string(error.what()).find("\"" + std::string(text) + "\""), std::string::npos) << error.what();
      auto const records = sink.take();
      ASSERT_EQ(records.size(), 1U);
      EXPECT_EQ(records[0].context_id, "COMM");
      EXPECT_EQ(records[0].level, ara::log::LogLevel::kError);
      EXPECT_EQ(std::get<std::string>(records[0].pieces.at(0)), error.what());
    }
  }
  for (char const* of_others : {"back", "3"}) {
    EXPECT_THROW(make_on<Number_skeleton>(server, "test::Echo", of_others, successor), Invalid_argument_exception);
    EXPECT_EQ(sink.take().size(), 1U);
  }
  EXPECT_TRUE(find_on(server, "3").empty()) << "any number may be looked for";
  EXPECT_EQ(make_on<Instance_id>(server, "65534")->text(), "65534");
}

TEST(ASkeleton, RefusesProcessingModesThatAreNotThere) {
  auto const server = node(1);
  for (auto const mode : {Method_call_processing_mode::kPoll, Method_call_processing_mode::kEventSingleThread}) {
    EXPECT_THROW(make_on<Number_skeleton>(server, "test::Echo", "one", successor, mode), Invalid_argument_exception);
  }
  EXPECT_THROW(make_on<Number_proxy>(server, "test::Unknown"), std::runtime_error);
}

/// A service in the middle that asks another one, one call at a time, as a client of statistics does.
class Calling_on {
 public:
  Calling_on(std::shared_ptr<Runtime> const& runtime, char const* instance)
      : proxy_(make_on<Number_proxy>(runtime, "test::Back")),
        skeleton_(make_on<Number_skeleton>(runtime, "test::Echo", instance, [this](std::uint32_t number) {
          std::lock_guard<std::mutex> const lock(mutex_);
          return proxy_->ask(number).get();
        })) {}
  Number_skeleton& skeleton() { return *skeleton_; }

 private:
  std::mutex mutex_;
  std::unique_ptr<Number_proxy> proxy_;
  std::unique_ptr<Number_skeleton> skeleton_;
};

TEST(MethodsThatCallOn, AreAllAnsweredOnceWithFourTimesAsManyCallsAsThreads) {
  Limits limits;
  limits.worker_threads = 4;
  auto const back = node(1);
  auto const middle = node(2, limits);
  auto const front = node(3);
  std::mutex mutex;
  std::multiset<std::uint32_t> asked;
  auto const slow = make_on<Number_skeleton>(back, "test::Back", "back", [&](std::uint32_t number) {
    std::this_thread::sleep_for(2ms);
    std::lock_guard<std::mutex> const lock(mutex);
    asked.insert(number);
    return number + 1000;
  });
  Calling_on one(middle, "one");
  Calling_on other(middle, "other");
  slow->OfferService();
  await(middle, "test::Back");
  one.skeleton().OfferService();
  other.skeleton().OfferService();
  std::map<std::uint16_t, std::unique_ptr<Number_proxy>> proxies;
  for (std::uint16_t const instance : {std::uint16_t{1}, std::uint16_t{2}}) {
    await(front, "test::Echo", instance);
    proxies[instance] = make_on<Number_proxy>(front, "test::Echo", Service_handle{instance});
  }
  std::vector<std::future<std::uint32_t>> calls;
  for (std::uint32_t n = 0; n < 16; ++n) {
    for (auto const& [instance, proxy] : proxies) {
      calls.push_back(std::async(std::launch::async, [&proxy = proxy, n] { return proxy->ask(n).get() - n; }));
    }
  }
  for (auto& call : calls) {
    EXPECT_EQ(call.get(), 1000U);
  }
  for (std::uint32_t n = 0; n < 16; ++n) {
    EXPECT_EQ(asked.count(n), 2U) << n;
  }
}

TEST(MethodsThatCallOn, EndWithinTheLimitOfEachWhenNobodyAnswers) {
  Limits limits;
  limits.worker_threads = 3;
  limits.response_time = 200ms;
  auto const back = node(1);
  auto const middle = node(2, limits);
  auto const front = node(3);
  Gate gate;
  auto const silent = make_on<Number_skeleton>(back, "test::Back", "back", [&](std::uint32_t) {
    gate.pass();
    return 0U;
  });
  Calling_on one(middle, "one");
  silent->OfferService();
  await(middle, "test::Back");
  one.skeleton().OfferService();
  await(front, "test::Echo");
  auto const proxy = make_on<Number_proxy>(front, "test::Echo");
  std::vector<ara::com::Future<std::uint32_t>> calls;
  for (std::uint32_t n = 0; n < 3; ++n) {
    calls.push_back(proxy->ask(n));
  }
  ASSERT_TRUE(gate.await_inside(1));
  auto const start = std::chrono::steady_clock::now();
  one.skeleton().StopOfferService();
  // Three calls at most are inside, and each meets its limit in turn.
  EXPECT_LT(std::chrono::steady_clock::now() - start, 3 * limits.response_time + 2s);
  for (auto& call : calls) {
    EXPECT_THROW(call.get(), Transport_exception);
  }
  gate.open();
}

TEST(ARuntimeThatEnds, FailsItsOutstandingRequestsAtOnce) {
  auto const server = node(1);
  auto const client = node(2);
  Gate gate;
  auto const silent = make_on<Number_skeleton>(server, "test::Echo", "one", [&](std::uint32_t) {
    gate.pass();
    return 0U;
  });
  silent->OfferService();
  await(client, "test::Echo");
  auto const proxy = make_on<Number_proxy>(client, "test::Echo");
  auto future = proxy->ask(1);
  auto waiting = std::async(std::launch::async, [&] { return future.get(); });
  ASSERT_TRUE(gate.await_inside(1));
  client->stop();
  EXPECT_THROW(waiting.get(), Transport_exception);
  EXPECT_THROW(proxy->ask(1).get(), Service_not_available_exception);
  EXPECT_TRUE(find_on(client, "one").empty());
  gate.open();
}

struct Threads {
  long all = 0;
  long without_signals = 0;
};

Threads threads() {
  Threads counted;
  DIR* const tasks = ::opendir("/proc/self/task");
  while (dirent const* const entry = ::readdir(tasks)) {
    std::ifstream status("/proc/self/task/" + std::string(entry->d_name) + "/status");
    for (std::string line; std::getline(status, line);) {
      if (line.rfind("SigBlk:", 0) == 0) {
        ++counted.all;
        // All but SIGKILL, SIGSTOP and the two that the C library keeps for itself (and blocks while a thread starts).
        constexpr unsigned long long all = 0xfffffffe7ffbfeffULL;
        unsigned long long const blocked = std::stoull(line.substr(std::strlen("SigBlk:")), nullptr, 16);
        counted.without_signals += (blocked & all) == all ? 1 : 0;
      }
    }
  }
  ::closedir(tasks);
  return counted;
}

TEST(ARuntime, NeedsTwoThreadsAtRestWhichBlockAllSignals) {
  auto const before = threads();
  auto const server = node(1);
  auto const skeleton = make_on<Number_skeleton>(server, "test::Echo", "one", successor);
  skeleton->OfferService();
  auto const after = threads();
  EXPECT_EQ(after.all, before.all + 2);
  EXPECT_EQ(after.without_signals, before.without_signals + 2);
}

}  // namespace
}  // namespace linux_platform::com
