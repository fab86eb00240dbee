// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_CONNECTIONS_CONNECTION_H
#define MACHINE_DIAGNOSTIC_MANAGER_CONNECTIONS_CONNECTION_H

#include <cstdint>
#include <string_view>

#include "machine/diagnostic_manager/connections/connection_config.h"
#include "machine/diagnostic_manager/connections/link_if.h"
#include "machine/diagnostic_manager/connections/socket_table.h"
#include "machine/diagnostic_manager/doip/memory_budget.h"
#include "machine/diagnostic_manager/doip/messages.h"
#include "machine/diagnostic_manager/doip/stream_parser.h"
#include "machine/diagnostic_manager/timers/timer.h"
#include "machine/diagnostic_manager/uds/identifier_table.h"
#include "machine/diagnostic_manager/uds/server.h"

namespace machine::diagnostic_manager::connections {

/// One tester's connection: from the bytes it sends to the messages that go back. All on the server's thread.
///
///   initialised -> examining   routing activation is asked for and allowed
///   examining -> active        the address is registered, and nothing else is needed
///   examining -> confirming    registered; the vehicle has to confirm
///   examining -> initialised   registered, but authentication is missing: the tester may ask for another type
///   confirming -> active       confirmed
///   any -> closed              refused, inactive, not understood, or lost
class Connection final : private Socket_table::Member_if {
 public:
  /// What all connections share; outlives them.
  struct Shared {
    Connection_config const& config;
    Timer_queue& timers;
    Socket_table& sockets;
    doip::Memory_budget& memory;
    uds::Identifier_table const& identifiers;
  };

  /// Enters the table of sockets, which has to have room. `link` outlives the connection.
  Connection(Socket_table::Id id, Shared const& shared, Link_if& link);
  ~Connection() override;
  Connection(Connection const&) = delete;
  Connection& operator=(Connection const&) = delete;

  /// Bytes from the tester, cut anywhere. They are ignored once the connection is closed.
  void receive(Byte_view bytes);
  /// The tester sends no more: the connection ends with its last answer.
  void input_ended();
  /// The link is gone.
  void lost();

 private:
  enum class State : std::uint8_t { initialised, examining, confirming, active, closed };

  void send_alive_check() override;
  void give_way() override;

  void handle(doip::Stream_parser::Message const& message);
  void refuse(doip::Stream_parser::Refusal const& refusal);
  void ask_for_activation(doip::Routing_activation_request const& request);
  void activation_decided(doip::Activation_code code, Activation_policy policy);
  void answer_activation(std::uint16_t tester, doip::Activation_code code);
  void diagnose(doip::Diagnostic_message const& message);
  void refuse_diagnosis(doip::Diagnostic_message const& message, doip::Diagnostic_nack code);

  void send(Bytes message);
  void wait_for_activation();
  void watch_activity();
  void close(std::string_view reason);

  Socket_table::Id const id_;
  Shared const shared_;
  Connection_config const& config_;
  Link_if& link_;
  doip::Stream_parser parser_;
  State state_ = State::initialised;
  std::uint8_t version_;
  std::uint16_t tester_ = 0;
  Timer inactivity_timer_;
  Timer confirmation_timer_;
  uds::Server uds_;
};

}  // namespace machine::diagnostic_manager::connections

#endif
