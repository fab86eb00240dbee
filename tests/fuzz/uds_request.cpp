// SPDX-License-Identifier: Apache-2.0
// What a tester asks the UDS server: each request stands behind a control byte (addressing, how long to wait, whether
// and how the slow identifier answers then) and its length. Every answer is sound, no request has two, and all end.
#include <memory>
#include <utility>

#include "machine/diagnostic_manager/uds/own_identifiers.h"
#include "machine/diagnostic_manager/uds/server.h"
#include "tests/fuzz/fuzz.h"

namespace {

using namespace machine::diagnostic_manager;
using fuzz::require;

/// Answers when it is told to, unless nobody waits any more.
class Slow_identifier final : public uds::Data_identifier_if {
 public:
  std::unique_ptr<uds::Running_read_if> read(uds::Session /*session*/, uds::Read_done done) override {
    auto running = std::make_unique<Running>();
    running->done = std::make_shared<uds::Read_done>(std::move(done));
    waiting_ = running->done;
    return running;
  }
  void answer(uds::Read_outcome outcome) {
    if (auto const done = std::exchange(waiting_, {}).lock()) {
      (*done)(std::move(outcome));
    }
  }

 private:
  struct Running final : uds::Running_read_if {
    std::shared_ptr<uds::Read_done> done;
  };
  std::weak_ptr<uds::Read_done> waiting_;
};

class Conversation {
 public:
  Conversation() {
    config_.max_response = 64;
    identifiers_[uds::did_active_session] = std::make_unique<uds::Session_identifier>();
    identifiers_[uds::did_vin] = std::make_unique<uds::Constant_identifier>(Bytes(17, 'V'));
    auto slow = std::make_unique<Slow_identifier>();
    slow_ = slow.get();
    identifiers_[uds::did_flashwatch_report] = std::move(slow);
    server_ = std::make_unique<uds::Server>(config_, identifiers_, timers_, [this](Bytes const& said) { hear(said); });
  }

  void ask(unsigned control, Bytes const& request) {
    requests_ += request.empty() ? 0 : 1;
    server_->request(request, (control & 1U) != 0 ? uds::Addressing::functional : uds::Addressing::physical);
    now_ += std::chrono::milliseconds(500) * static_cast<int>((control >> 3U) & 15U);
    timers_.run_due();
    if ((control & 2U) != 0) {
      slow_->answer((control & 4U) != 0 ? uds::Read_outcome(uds::Response_code::conditions_not_correct)
                                        : uds::Read_outcome(Bytes(control >> 2U, 'R')));
    }
  }
  /// Lets all the time pass that anything waits for.
  void end() {
    for (unsigned steps = 0; timers_.next(); ++steps) {
      require(steps <= config_.max_pending_responses + 2, "a request that is not answered ends");
      now_ = *timers_.next();
      timers_.run_due();
    }
    require(server_->session() == uds::Session::default_session, "a session ends with the requests");
  }

 private:
  void hear(Bytes const& said) {
    require(!said.empty() && said.size() <= config_.max_response, "an answer has a bounded length");
    bool const refusal = said[0] == 0x7F && said.size() == 3;
    require(refusal || said[0] == 0x50 || said[0] == 0x62 || said[0] == 0x7E, "an answer is one of a known service");
    bool const pending = refusal && said[2] == static_cast<std::uint8_t>(uds::Response_code::response_pending);
    answers_ += pending ? 0 : 1;
    require(answers_ <= requests_, "a request has one final answer at most");
  }

  Timer_queue::Time now_;
  Timer_queue timers_{[this] { return now_; }};
  uds::Server::Config config_;
  uds::Identifier_table identifiers_;
  Slow_identifier* slow_ = nullptr;
  std::unique_ptr<uds::Server> server_;
  std::size_t requests_ = 0;
  std::size_t answers_ = 0;
};

}  // namespace

void fuzz::check(Input input) {
  Conversation conversation;
  while (!input.empty()) {
    unsigned const control = input.u8();
    conversation.ask(control, input.take(input.u8()));
  }
  conversation.end();
}
