// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/reports/report_identifier.h"

#include <optional>
#include <utility>

namespace machine::diagnostic_manager::reports {

/// One tester's place among the readers, given up with this object.
class Report_identifier::Place final : public uds::Running_read_if {
 public:
  Place(Report_identifier& identifier, std::uint64_t reader) : identifier_(identifier), reader_(reader) {}
  ~Place() override {
    identifier_.asking_.erase(reader_);
    identifier_.waiting_.erase(reader_);
  }
  Place(Place const&) = delete;
  Place& operator=(Place const&) = delete;

 private:
  Report_identifier& identifier_;
  std::uint64_t const reader_;
};

Report_identifier::Report_identifier(std::unique_ptr<Report_if> report, Post post)
    : report_(std::move(report)), post_(std::move(post)), thread_([this] { work(); }) {}

Report_identifier::~Report_identifier() {
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    stop_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

std::unique_ptr<uds::Running_read_if> Report_identifier::read(uds::Session /*session*/, uds::Read_done done) {
  std::uint64_t const reader = ++last_reader_;
  waiting_.emplace(reader, std::move(done));
  if (!asked_) {
    ask();
  }
  return std::make_unique<Place>(*this, reader);
}

void Report_identifier::ask() {
  asking_.swap(waiting_);
  asked_ = true;
  if (std::optional<Report_outcome> outcome = report_->read_at_once()) {
    tell(std::move(*outcome));
    // Not before the loop's next turn: a tester that asks without a pause does not keep it for itself.
    post_([this] { ask_again(); });
    return;
  }
  {
    std::lock_guard<std::mutex> const lock(mutex_);
    wanted_ = true;
  }
  changed_.notify_one();
}

void Report_identifier::tell(Report_outcome outcome) {
  uds::Read_outcome const answer = to_read_outcome(std::move(outcome));
  // A reader that is told may read again or drop others.
  while (!asking_.empty()) {
    auto const reader = asking_.extract(asking_.begin());
    reader.mapped()(answer);
  }
}

void Report_identifier::ask_again() {
  asked_ = false;
  if (!waiting_.empty()) {
    ask();
  }
}

void Report_identifier::work() {
  while (true) {
    {
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait(lock, [this] { return wanted_ || stop_; });
      if (stop_) {
        return;
      }
      wanted_ = false;
    }
    post_([this, outcome = report_->read(stop_)] {
      tell(outcome);
      ask_again();
    });
  }
}

}  // namespace machine::diagnostic_manager::reports
