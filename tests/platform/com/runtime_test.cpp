// SPDX-License-Identifier: Apache-2.0
// Nodes that find and call each other through proxies and skeletons: what comes and goes, what is refused, and an end
// in time.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "platform/src/log/installed_sink.h"
#include "platform/src/log/recording_sink.h"
#include "tarn/com/cpp_binding/proxy_base.h"
#include "tarn/com/cpp_binding/skeleton_base.h"
#include "tarn/com/exceptions.h"
#include "tests/platform/com/gate.h"
#include "tests/platform/com/node.h"

namespace linux_platform::com {
namespace {

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

/// The service under test has one method that turns one number into another.
class Number_proxy : public tarn::com::cpp_binding::Proxy_base {
 public:
  explicit Number_proxy(std::string const& interface) : Proxy_base(interface, {1}), id_(method_id("named")) {}
  static std::vector<Service_handle> find(std::string const& instance) {
    return Proxy_base::find("test::Echo", Instance_id(instance));
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
  Number_skeleton(std::string const& instance, std::function<std::uint32_t(std::uint32_t)> const& method,
                  Method_call_processing_mode mode = Method_call_processing_mode::kEvent)
      : Skeleton_base("test::Echo", Instance_id(instance), mode) {
    register_method(method_id("named"), [=](Deserializer& in, Serializer& out) {
      out.write_u32(method(in.read_u32()));
      return nullptr;
    });
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
  return Number_proxy::find(instance);
}

TEST(AService, IsFoundCalledWithdrawnAndBackForTheSameProxy) {
  log::Recording_sink sink;
  log::Installed_sink const installed(sink);
  auto const server = node(1);
  auto const client = node(2);
  EXPECT_TRUE(find_on(client, "one").empty());
  auto const skeleton = make_on<Number_skeleton>(server, "one", successor);
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
    EXPECT_EQ(record.context_id + std::get<std::string>(record.pieces.at(1)), "COMMtest::Echo");
  }
}

TEST(AnInstanceIdentifier, IsRefusedAndLoggedWhenItMeansNothing) {
  log::Recording_sink sink;
  log::Installed_sink const installed(sink);
  auto const server = node(1);
  for (std::string const text : {"", "0", "65535", "70000", "-1", "+1", " 1", "1x", "0x1", "nobody"}) {
    EXPECT_THAT([&] { make_on<Instance_id>(server, text); },
                testing::ThrowsMessage<Invalid_argument_exception>(testing::HasSubstr('"' + text + '"')));
    EXPECT_EQ(sink.take().at(0).level, ara::log::LogLevel::kError) << text;
  }
  for (char const* of_others : {"back", "3"}) {
    EXPECT_THROW(make_on<Number_skeleton>(server, of_others, successor), Invalid_argument_exception);
    EXPECT_EQ(sink.take().size(), 1U);
  }
  EXPECT_TRUE(find_on(server, "3").empty()) << "any number may be looked for";
  EXPECT_EQ(make_on<Instance_id>(server, "65534")->text(), "65534");
}

TEST(ASkeleton, RefusesProcessingModesThatAreNotThere) {
  auto const server = node(1);
  for (auto const mode : {Method_call_processing_mode::kPoll, Method_call_processing_mode::kEventSingleThread}) {
    EXPECT_THROW(make_on<Number_skeleton>(server, "one", successor, mode), Invalid_argument_exception);
  }
  EXPECT_THROW(make_on<Number_proxy>(server, "test::Unknown"), std::runtime_error);
}

TEST(ARuntimeThatEnds, FailsItsOutstandingRequestsAtOnce) {
  auto const server = node(1);
  auto const client = node(2);
  Gate gate;
  auto const silent = make_on<Number_skeleton>(server, "one", [&](std::uint32_t) {
    gate.pass();
    return 0U;
  });
  silent->OfferService();
  while (find_on(client, "one").empty()) {
  }
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

/// The masks of blocked signals of the threads of this process, by their ids.
std::map<std::string, unsigned long long> signal_masks() {
  std::map<std::string, unsigned long long> masks;
  for (auto const& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream status(task.path() / "status");
    for (std::string word; status >> word;) {
      if (word == "SigBlk:") {
        status >> std::hex >> masks[task.path().filename()];
      }
    }
  }
  return masks;
}

TEST(ARuntime, NeedsTwoThreadsAtRestWhichBlockAllSignals) {
  auto const before = signal_masks();  // a thread that has been joined may still be listed
  auto const skeleton = make_on<Number_skeleton>(node(1), "one", successor);
  skeleton->OfferService();
  auto masks = signal_masks();
  for (auto const& [id, mask] : before) {
    masks.erase(id);
  }
  EXPECT_EQ(masks.size(), 2U);
  // All but SIGKILL, SIGSTOP and the two that the C library keeps for itself (and blocks while a thread starts).
  auto const blocks_all = [](auto const& thread) { return (~thread.second & 0xfffffffe7ffbfeffULL) == 0; };
  EXPECT_EQ(std::count_if(masks.begin(), masks.end(), blocks_all), 2);
}

}  // namespace
}  // namespace linux_platform::com
