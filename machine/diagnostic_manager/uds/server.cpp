// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/uds/server.h"

#include <algorithm>
#include <utility>

#include "machine/diagnostic_manager/bytes/byte_reader.h"
#include "machine/diagnostic_manager/bytes/byte_writer.h"

namespace machine::diagnostic_manager::uds {
namespace {

constexpr std::uint8_t sid_session_control = 0x10;
constexpr std::uint8_t sid_read_data = 0x22;
constexpr std::uint8_t sid_tester_present = 0x3E;
constexpr std::uint8_t sid_negative = 0x7F;
constexpr std::uint8_t positive_offset = 0x40;
constexpr std::uint8_t suppress_positive_response = 0x80;

/// A pending response has to reach the tester before the time it waits has passed.
constexpr std::chrono::milliseconds in_time(std::chrono::milliseconds limit) { return limit * 4 / 5; }

bool wants_no_answer(Byte_view request) { return (request.data()[1] & suppress_positive_response) != 0; }

std::uint8_t sub_function(Byte_view request) {
  return static_cast<std::uint8_t>(request.data()[1] & ~unsigned{suppress_positive_response});
}

bool is_silent_tester_present(Byte_view request) {
  return request.size() == 2 && request.data()[0] == sid_tester_present &&
         request.data()[1] == suppress_positive_response;
}

}  // namespace

Server::Server(Config const& config, Identifier_table const& identifiers, Timer_queue& timers, Respond respond)
    : config_(config),
      identifiers_(identifiers),
      respond_(std::move(respond)),
      s3_timer_(timers),
      pending_timer_(timers) {}

void Server::request(Byte_view request, Addressing addressing) {
  if (request.empty() || (read_ && is_silent_tester_present(request))) {
    return;
  }
  if (read_) {
    respond_({sid_negative, request.data()[0], static_cast<std::uint8_t>(Response_code::busy_repeat_request)});
    return;
  }
  addressing_ = addressing;
  pending_sent_ = 0;
  s3_timer_.stop();
  dispatch(request);
  if (!read_) {
    watch_session();
  }
}

void Server::when_done(std::function<void()> done) {
  if (read_) {
    done_ = std::move(done);
  } else {
    done();
  }
}

void Server::dispatch(Byte_view request) {
  std::uint8_t const service = request.data()[0];
  if (service == sid_session_control) {
    session_control(request);
  } else if (service == sid_tester_present) {
    tester_present(request);
  } else if (service != sid_read_data) {
    refuse(service, Response_code::service_not_supported);
  } else if (config_.read_needs_extended_session && session_ != Session::extended) {
    refuse(service, Response_code::service_not_supported_in_session);
  } else {
    read_data(request);
  }
}

void Server::session_control(Byte_view request) {
  auto const known = {static_cast<std::uint8_t>(Session::default_session),
                      static_cast<std::uint8_t>(Session::extended)};
  if (std::optional<Response_code> const refused = check_sub_function(request, known)) {
    refuse(sid_session_control, *refused);
    return;
  }
  std::uint8_t const wanted = sub_function(request);
  if (!wants_no_answer(request)) {
    Byte_writer response;
    response.u8(sid_session_control + positive_offset).u8(wanted);
    response.u16(static_cast<std::uint16_t>(config_.p2.count()));
    response.u16(static_cast<std::uint16_t>(config_.p2_star.count() / 10));
    respond_(response.take());
  }
  session_ = static_cast<Session>(wanted);
}

void Server::tester_present(Byte_view request) {
  if (std::optional<Response_code> const refused = check_sub_function(request, {0x00})) {
    refuse(sid_tester_present, *refused);
  } else if (!wants_no_answer(request)) {
    respond_({sid_tester_present + positive_offset, 0x00});
  }
}

std::optional<Response_code> Server::check_sub_function(Byte_view request,
                                                        std::initializer_list<std::uint8_t> known) const {
  if (request.size() < 2) {
    return Response_code::incorrect_length_or_format;
  }
  if (std::find(known.begin(), known.end(), sub_function(request)) == known.end()) {
    return Response_code::sub_function_not_supported;
  }
  return request.size() == 2 ? std::nullopt : std::optional(Response_code::incorrect_length_or_format);
}

void Server::read_data(Byte_view request) {
  Byte_view const list = request.after(1);
  if (list.size() < 2 || list.size() % 2 != 0 || list.size() / 2 > config_.max_identifiers) {
    refuse(sid_read_data, Response_code::incorrect_length_or_format);
    return;
  }
  std::vector<std::uint16_t> identifiers = known_identifiers(list);
  if (identifiers.empty()) {
    refuse(sid_read_data, Response_code::request_out_of_range);
    return;
  }
  read_ = std::make_unique<Read_request>(identifiers_, std::move(identifiers), config_.max_response,
                                         [this](Read_request::Outcome outcome) { finish_read(std::move(outcome)); });
  wait_with_pending(config_.p2);
  read_->start(session_);
}

std::vector<std::uint16_t> Server::known_identifiers(Byte_view list) const {
  std::vector<std::uint16_t> known;
  Byte_reader reader(list);
  while (!reader.rest().empty()) {
    std::uint16_t const identifier = reader.u16();
    if (identifiers_.count(identifier) != 0) {
      known.push_back(identifier);
    }
  }
  return known;
}

void Server::wait_with_pending(std::chrono::milliseconds time_limit) {
  pending_timer_.start(in_time(time_limit), [this] { pending_due(); });
}

void Server::pending_due() {
  if (pending_sent_ == config_.max_pending_responses) {
    finish_read(Response_code::general_reject);
    return;
  }
  ++pending_sent_;
  wait_with_pending(config_.p2_star);
  respond_({sid_negative, sid_read_data, static_cast<std::uint8_t>(Response_code::response_pending)});
}

void Server::finish_read(Read_request::Outcome outcome) {
  // The request that this call comes from stays alive until the end of it.
  std::unique_ptr<Read_request> const finished = std::move(read_);
  pending_timer_.stop();
  if (auto* const response = std::get_if<Bytes>(&outcome)) {
    respond_(std::move(*response));
  } else {
    refuse(sid_read_data, std::get<Response_code>(outcome));
  }
  watch_session();
  if (done_) {
    done_();
  }
}

void Server::refuse(std::uint8_t service, Response_code code) {
  bool const silent = addressing_ == Addressing::functional && pending_sent_ == 0 && is_silent_when_functional(code);
  if (!silent) {
    respond_({sid_negative, service, static_cast<std::uint8_t>(code)});
  }
}

void Server::watch_session() {
  if (session_ != Session::default_session) {
    s3_timer_.start(config_.s3, [this] { session_ = Session::default_session; });
  }
}

}  // namespace machine::diagnostic_manager::uds
