// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_UDS_SERVER_H
#define MACHINE_DIAGNOSTIC_MANAGER_UDS_SERVER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "machine/diagnostic_manager/bytes/byte_view.h"
#include "machine/diagnostic_manager/timers/timer.h"
#include "machine/diagnostic_manager/uds/identifier_table.h"
#include "machine/diagnostic_manager/uds/read_request.h"
#include "machine/diagnostic_manager/uds/response_code.h"
#include "machine/diagnostic_manager/uds/session.h"

namespace machine::diagnostic_manager::uds {

enum class Addressing : std::uint8_t { physical, functional };

/// The UDS server (ISO 14229-1) that one tester speaks to: DiagnosticSessionControl, TesterPresent and
/// ReadDataByIdentifier. Every tester has a server, and with it a session, of its own; both end with its connection.
///
/// One request is worked on at a time. While one is, every other is refused with busyRepeatRequest, but for a
/// TesterPresent that wants no answer.
class Server {
 public:
  struct Config {
    /// P2server_max and P2*server_max as told to the tester: 1..65535 ms and 10..655350 ms. A pending response goes out
    /// when four fifths of them have passed.
    std::chrono::milliseconds p2{50};
    std::chrono::milliseconds p2_star{5000};
    /// S3server: a session other than the default one ends after this time without a request.
    std::chrono::milliseconds s3{5000};
    /// So many times is responsePending sent for one request; once more that time and it is refused.
    unsigned max_pending_responses = 4;
    std::size_t max_identifiers = 16;
    /// Of the whole positive response, in bytes.
    std::size_t max_response = 4092;
    /// ReadDataByIdentifier is refused in the default session.
    bool read_needs_extended_session = false;
  };
  using Respond = std::function<void(Bytes)>;

  /// `identifiers` and `timers` outlive the server. `respond` is called from `request` and from timers, and must not
  /// destroy the server.
  Server(Config const& config, Identifier_table const& identifiers, Timer_queue& timers, Respond respond);

  /// A request of at least one byte.
  void request(Byte_view request, Addressing addressing);

  /// Calls `done` once no request is worked on: at once, or behind the last answer. It must not destroy the server.
  void when_done(std::function<void()> done);

  Session session() const noexcept { return session_; }

 private:
  void dispatch(Byte_view request);
  void session_control(Byte_view request);
  void tester_present(Byte_view request);
  void read_data(Byte_view request);
  std::optional<Response_code> check_sub_function(Byte_view request, std::initializer_list<std::uint8_t> known) const;
  std::vector<std::uint16_t> known_identifiers(Byte_view list) const;

  void wait_with_pending(std::chrono::milliseconds time_limit);
  void pending_due();
  void finish_read(Read_request::Outcome outcome);
  void refuse(std::uint8_t service, Response_code code);
  void watch_session();

  Config const config_;
  Identifier_table const& identifiers_;
  Respond const respond_;
  std::function<void()> done_;

  Session session_ = Session::default_session;
  Timer s3_timer_;
  Addressing addressing_ = Addressing::physical;
  std::unique_ptr<Read_request> read_;
  Timer pending_timer_;
  unsigned pending_sent_ = 0;
};

}  // namespace machine::diagnostic_manager::uds

#endif
