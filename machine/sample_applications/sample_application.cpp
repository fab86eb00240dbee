// SPDX-License-Identifier: Apache-2.0
#include "machine/sample_applications/sample_application.h"

#include <exception>
#include <memory>
#include <stdexcept>

#include "ara/exec/application_client.h"
#include "ara/log/logging.h"
#include "machine/sample_applications/stop_signals.h"
#include "machine/version/command_line.h"
#include "platform/src/manifest/machine_manifest.h"

namespace sample_applications {

namespace {

constexpr char const* sync_count_key = "sync_count";
/// The pause after a sync that failed.
constexpr std::chrono::milliseconds retry_interval{5'000};

class Sample_application {
 public:
  explicit Sample_application(Workload const& workload) : workload_(workload) {}

  void run_until(Stop_signals const& stop) {
    std::chrono::steady_clock::time_point next;
    do {
      next = std::chrono::steady_clock::now() + write_once();
    } while (!stop.arrive_before(next));
    report(ara::exec::ApplicationState::kTerminating);
    ara::log::LogInfo() << "stopped after" << syncs_of_this_run_ << "syncs";
  }

 private:
  /// Returns the time to the next one. What the medium does wrong is logged; everything else leaves.
  std::chrono::milliseconds write_once() {
    try {
      open();
      workload_.set_values(*storage_, sync_count_);
      storage_->SetValue(sync_count_key, ara::per::KvsType(sync_count_ + 1));
      storage_->SyncToStorage();
    } catch (ara::per::ExceptionStorageLocationNotFound const& error) {
      return try_later(error);
    } catch (ara::per::ExceptionPhysicalStorageError const& error) {
      return try_later(error);
    }
    ++sync_count_;
    if (++syncs_of_this_run_ == 1) {
      ara::log::LogInfo() << "first sync done," << sync_count_ << "in the life of the storage";
      report(ara::exec::ApplicationState::kRunning);
    }
    return sync_count_ < workload_.quick_syncs ? workload_.quick_interval : workload_.interval;
  }

  void open() {
    if (storage_) {
      return;
    }
    auto storage = std::make_unique<ara::per::KeyValueStorage>(workload_.storage);
    if (storage->HasKey(sync_count_key)) {
      sync_count_ = stored_count(storage->GetValue(sync_count_key));
    }
    storage_ = std::move(storage);
  }

  /// Of a damaged count only this is sure: the storage is not new.
  std::uint64_t stored_count(ara::per::KvsType const& value) const {
    try {
      return value.GetUInt();
    } catch (ara::per::ExceptionPhysicalStorageError const& error) {
      ara::log::LogWarn() << "cannot tell the number of syncs:" << error.what();
      return workload_.quick_syncs;
    }
  }

  static std::chrono::milliseconds try_later(std::exception const& error) {
    ara::log::LogError() << "cannot write:" << error.what() << "- next attempt in" << retry_interval.count() << "ms";
    return retry_interval;
  }

  void report(ara::exec::ApplicationState state) {
    if (client_.ReportApplicationState(state) != ara::exec::ApplicationReturnType::kSuccess) {
      ara::log::LogWarn() << "state" << static_cast<unsigned>(state) << "could not be reported";
    }
  }

  Workload const& workload_;
  ara::exec::ApplicationClient client_;
  std::unique_ptr<ara::per::KeyValueStorage> storage_;
  std::uint64_t sync_count_ = 0;
  std::uint64_t syncs_of_this_run_ = 0;
};

}  // namespace

int run(Workload const& workload, int argc, char const* const* argv) noexcept {
  try {
    if (auto const answer = machine::version::answer_command_line(argc, argv)) {
      return *answer;
    }
    Stop_signals const stop;
    ara::log::InitLogging(workload.log_id, workload.description, ara::log::LogLevel::kInfo,
                          ara::log::LogMode::kRemote | ara::log::LogMode::kConsole, "");
    // Read for its errors: a wrong manifest ends the process, unlike a medium that fails.
    linux_platform::manifest::Machine_manifest::of_this_process();
    Sample_application(workload).run_until(stop);
    return 0;
  } catch (std::exception const& error) {
    ara::log::LogError() << "cannot go on:" << error.what();
    return 1;
  }
}

}  // namespace sample_applications
