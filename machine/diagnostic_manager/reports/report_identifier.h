// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_REPORTS_REPORT_IDENTIFIER_H
#define MACHINE_DIAGNOSTIC_MANAGER_REPORTS_REPORT_IDENTIFIER_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "machine/diagnostic_manager/reports/report_if.h"
#include "machine/diagnostic_manager/uds/data_identifier_if.h"

namespace machine::diagnostic_manager::reports {

/// A data identifier whose record a service gives. The service is asked one question at a time. The server's thread
/// asks it and waits a moment for the answer, which spares two changes of threads; what takes longer goes on on a
/// thread of this object's own, so a service that hangs holds up nobody but those who read this identifier.
///
/// Testers that come while a question is under way wait for the next one, which then answers all of them: every tester
/// gets a record that was asked for after its request came. Each tester has one request at most, so those who wait
/// are as many as there are connections.
class Report_identifier final : public uds::Data_identifier_if {
 public:
  /// Hands a function to the server's thread.
  using Post = std::function<void(std::function<void()>)>;

  Report_identifier(std::unique_ptr<Report_if> report, Post post);
  /// Waits for the question under way. Nothing posted may run any more.
  ~Report_identifier() override;

  std::unique_ptr<uds::Running_read_if> read(uds::Session session, uds::Read_done done) override;

 private:
  class Place;
  using Readers = std::map<std::uint64_t, uds::Read_done>;

  void work();
  void ask();
  void tell(Report_outcome outcome);
  void ask_again();

  std::unique_ptr<Report_if> const report_;  ///< of the server's thread, but from a hand-over to what is then posted
  Post const post_;

  // Of the server's thread.
  Readers asking_;
  Readers waiting_;
  std::uint64_t last_reader_ = 0;
  bool asked_ = false;

  // Shared with the asking thread, under the mutex.
  std::mutex mutex_;
  std::condition_variable changed_;
  bool wanted_ = false;

  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace machine::diagnostic_manager::reports

#endif
