// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_REPORTS_SERVICE_REPORT_H
#define MACHINE_DIAGNOSTIC_MANAGER_REPORTS_SERVICE_REPORT_H

#include <atomic>
#include <chrono>
#include <exception>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "ara/com/future.h"
#include "ara/log/logger.h"
#include "halden/services/diag/uds_service_failure.h"
#include "machine/diagnostic_manager/reports/report_if.h"
#include "orvel/com/runtime/instance_id.h"
#include "tarn/com/exceptions.h"

namespace machine::diagnostic_manager::reports {

/// Asks a data identifier service through its proxy. `Interface` is the service's interface with its Read.
template <typename Proxy, typename Interface>
class Service_report final : public Report_if {
 public:
  using Output = typename Interface::Read::Output;
  using To_record = Bytes (*)(Output const&);

  /// `to_record` turns what the service answers into the data record of the identifier. `log` outlives this object.
  Service_report(orvel::com::runtime::Instance_id instance, To_record to_record, ara::log::Logger const& log)
      : instance_(std::move(instance)), to_record_(to_record), log_(log) {}

  std::optional<Report_outcome> read_at_once() override {
    try {
      if (!quick_ || !proxy_->connected()) {
        return std::nullopt;
      }
      ask();
      return answered_within(moment) ? std::optional(outcome()) : std::nullopt;
    } catch (std::exception const&) {
      quick_ = false;
      return std::nullopt;  // the service may be offered elsewhere by now
    }
  }

  Report_outcome read(std::atomic<bool> const& stop) override {
    try {
      if (!answer_.valid()) {
        find();
        ask();
      }
      while (!answered_within(stop_check)) {
        if (stop) {
          return Service_absent{};
        }
      }
      return outcome();
    } catch (std::exception const& failure) {
      answer_ = {};
      report(failure.what());
      return Service_absent{};
    }
  }

 private:
  using Handle = typename Proxy::HandleType;
  using Clock = std::chrono::steady_clock;

  /// The SOME/IP return code of a request without an answer.
  static constexpr std::uint8_t timed_out = 0x06;
  /// How soon the end of the program is noticed while a service keeps it waiting.
  static constexpr std::chrono::milliseconds stop_check{100};
  /// What a service that answers at once may take.
  static constexpr std::chrono::milliseconds moment{1};

  /// May wait for the network, as may the first question on a connection.
  void find() {
    std::vector<Handle> const handles = Proxy::FindService(instance_);
    if (handles.empty()) {
      throw std::runtime_error("the service is not offered");
    }
    if (!proxy_ || !(handles.front() == handle_)) {
      handle_ = handles.front();
      proxy_.emplace(handle_);
    }
  }

  void ask() {
    asked_at_ = Clock::now();
    answer_ = proxy_->Read(std::map<std::string, std::string>{});
  }

  bool answered_within(std::chrono::milliseconds limit) {
    return answer_.wait_for(limit) == ara::com::future_status::ready;
  }

  /// Takes the answer. Whatever the service can do wrong is an outcome, that it is not there is an exception.
  Report_outcome outcome() {
    quick_ = false;
    try {
      Bytes record = to_record_(answer_.get());
      quick_ = Clock::now() - asked_at_ < moment;
      last_failure_.clear();
      return record;
    } catch (halden::services::diag::Uds_service_failure const& failure) {
      report(failure.what());
      return Service_failed{failure.response_code()};
    } catch (tarn::com::Transport_exception const& failure) {
      report(failure.what());
      return failure.error_code() == timed_out ? Report_outcome(Service_hung{}) : Report_outcome(Service_absent{});
    }
  }

  /// Testers may ask as often as they like: the same failure is logged once.
  void report(std::string const& failure) {
    if (failure != last_failure_) {
      log_.LogWarn() << "Reading" << Interface::name << "failed:" << failure;
      last_failure_ = failure;
    }
  }

  orvel::com::runtime::Instance_id const instance_;
  To_record const to_record_;
  ara::log::Logger const& log_;
  Handle handle_{};
  std::optional<Proxy> proxy_;
  ara::com::Future<Output> answer_;
  Clock::time_point asked_at_;
  /// The last answer was a record and came within a moment.
  bool quick_ = false;
  std::string last_failure_;
};

}  // namespace machine::diagnostic_manager::reports

#endif
