// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/connections/connection.h"

#include <utility>
#include <variant>

namespace machine::diagnostic_manager::connections {
namespace {

using doip::Activation_code;
using doip::Diagnostic_nack;

/// The longest message around a UDS response: a header and two addresses.
constexpr std::size_t response_overhead = doip::Header::size + 4;
/// An acknowledgement: a header, two addresses and a code.
constexpr std::size_t acknowledgement_size = doip::Header::size + 5;

}  // namespace

Connection::Connection(Socket_table::Id id, Shared const& shared, Link_if& link)
    : id_(id),
      shared_(shared),
      config_(shared.config),
      link_(link),
      parser_(shared.config.max_data_size, shared.memory),
      version_(shared.config.protocol_version),
      inactivity_timer_(shared.timers),
      confirmation_timer_(shared.timers),
      uds_(shared.config.uds, shared.identifiers, shared.timers, [this](Bytes const& response) {
        send(doip::diagnostic_message(version_, config_.logical_address, tester_, response));
      }) {
  shared_.sockets.add(id_, *this);
  wait_for_activation();
}

Connection::~Connection() { lost(); }

void Connection::receive(Byte_view bytes) {
  while (state_ != State::closed) {
    doip::Stream_parser::Step const step = parser_.next(bytes);
    if (auto const* message = std::get_if<doip::Stream_parser::Message>(&step)) {
      version_ = message->version;
      handle(*message);
    } else if (auto const* refusal = std::get_if<doip::Stream_parser::Refusal>(&step)) {
      refuse(*refusal);
    } else {
      watch_activity();
      return;
    }
  }
}

void Connection::input_ended() {
  uds_.when_done([this] { close("closed by the tester"); });
}

void Connection::lost() {
  state_ = State::closed;
  inactivity_timer_.stop();
  confirmation_timer_.stop();
  shared_.sockets.remove(id_);
}

void Connection::send_alive_check() { send(doip::alive_check_request(version_)); }

void Connection::give_way() { close("no answer to the alive check"); }

void Connection::handle(doip::Stream_parser::Message const& message) {
  if (auto const request = doip::read_routing_activation(message.payload);
      request && message.type == doip::Payload_type::routing_activation_request) {
    ask_for_activation(*request);
  } else if (auto const diagnostics = doip::read_diagnostic_message(message.payload);
             diagnostics && message.type == doip::Payload_type::diagnostic_message) {
    diagnose(*diagnostics);
  } else if (message.type == doip::Payload_type::alive_check_response &&
             doip::read_alive_check_response(message.payload) == tester_) {
    shared_.sockets.alive(id_);
  }
}

void Connection::refuse(doip::Stream_parser::Refusal const& refusal) {
  send(doip::header_nack(doip::answering_version(refusal.version, version_), refusal.code));
  if (doip::ends_connection(refusal.code)) {
    close("a header that is not understood");
  }
}

void Connection::ask_for_activation(doip::Routing_activation_request const& request) {
  auto const policy = config_.activation_types.find(request.type);
  Activation_code refused = Activation_code::activated;
  if (request.source < config_.first_tester || request.source > config_.last_tester) {
    refused = Activation_code::unknown_source_address;
  } else if (policy == config_.activation_types.end()) {
    refused = Activation_code::unsupported_type;
  } else if (policy->second == Activation_policy::needs_tls) {
    refused = Activation_code::tls_required;
  } else if (state_ != State::initialised && request.source != tester_) {
    refused = Activation_code::other_address_on_socket;
  }
  if (refused != Activation_code::activated) {
    answer_activation(request.source, refused);
    close("routing activation refused");
  } else if (state_ == State::active) {
    answer_activation(request.source, Activation_code::activated);
  } else if (state_ == State::confirming) {
    answer_activation(request.source, Activation_code::confirmation_required);
  } else if (state_ == State::initialised) {
    state_ = State::examining;
    tester_ = request.source;
    inactivity_timer_.stop();
    shared_.sockets.activate(
        id_, tester_, [this, chosen = policy->second](Activation_code code) { activation_decided(code, chosen); });
  }
}

void Connection::activation_decided(Activation_code code, Activation_policy policy) {
  if (code == Activation_code::activated && policy == Activation_policy::needs_authentication) {
    answer_activation(tester_, Activation_code::authentication_missing);
    state_ = State::initialised;
    wait_for_activation();
    shared_.sockets.release(id_);
    return;
  }
  if (code == Activation_code::activated && policy == Activation_policy::confirmed_later) {
    state_ = State::confirming;
    confirmation_timer_.start(config_.confirmation_delay, [this] {
      state_ = State::active;
      watch_activity();
    });
    answer_activation(tester_, Activation_code::confirmation_required);
    return;
  }
  if (code == Activation_code::activated && policy == Activation_policy::rejected) {
    code = Activation_code::confirmation_rejected;
  }
  if (code == Activation_code::activated) {
    state_ = State::active;
  }
  answer_activation(tester_, code);
  if (code != Activation_code::activated) {
    close("routing activation refused");
  }
}

void Connection::answer_activation(std::uint16_t tester, Activation_code code) {
  send(doip::routing_activation_response(version_, tester, config_.logical_address, code));
}

void Connection::diagnose(doip::Diagnostic_message const& message) {
  bool const functional = message.target == config_.functional_address;
  // Room for the longest response has to be there before the request is taken, or its answer could not be queued.
  std::size_t const needed = acknowledgement_size + response_overhead + config_.uds.max_response;
  if (state_ != State::active || message.source != tester_) {
    refuse_diagnosis(message, Diagnostic_nack::invalid_source_address);
    close("diagnosis without activated routing");
  } else if (!functional && message.target != config_.logical_address) {
    refuse_diagnosis(message, Diagnostic_nack::unknown_target_address);
  } else if (message.user_data.size() > config_.max_request) {
    refuse_diagnosis(message, Diagnostic_nack::message_too_large);
  } else if (link_.room() < needed) {
    refuse_diagnosis(message, Diagnostic_nack::out_of_memory);
  } else {
    send(doip::diagnostic_ack(version_, message.target, message.source));
    uds_.request(message.user_data, functional ? uds::Addressing::functional : uds::Addressing::physical);
  }
}

void Connection::refuse_diagnosis(doip::Diagnostic_message const& message, Diagnostic_nack code) {
  send(doip::diagnostic_nack(version_, message.target, message.source, code));
}

void Connection::send(Bytes message) {
  if (state_ != State::closed) {
    link_.send(std::move(message));
    watch_activity();
  }
}

void Connection::wait_for_activation() {
  inactivity_timer_.start(config_.initial_inactivity, [this] { close("no routing activation in time"); });
}

void Connection::watch_activity() {
  if (state_ == State::active) {
    inactivity_timer_.start(config_.general_inactivity, [this] { close("inactive for too long"); });
  }
}

void Connection::close(std::string_view reason) {
  if (state_ != State::closed) {
    state_ = State::closed;
    link_.close(reason);
    lost();
  }
}

}  // namespace machine::diagnostic_manager::connections
