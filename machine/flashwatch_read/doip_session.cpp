// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/doip_session.h"

#include <utility>

#include "machine/diagnostic_manager/bytes/byte_reader.h"
#include "machine/diagnostic_manager/bytes/byte_writer.h"
#include "machine/diagnostic_manager/doip/activation_code.h"
#include "machine/diagnostic_manager/doip/messages.h"
#include "machine/diagnostic_manager/doip/payload_type.h"
#include "machine/flashwatch_read/words.h"

namespace flashwatch_read {
namespace doip = machine::diagnostic_manager::doip;
using doip::Payload_type;
using machine::diagnostic_manager::Byte_reader;
using machine::diagnostic_manager::Byte_writer;

namespace {

constexpr std::uint8_t own_version = doip::version_2012;
constexpr std::size_t max_payload_bytes = 65536;
constexpr std::uint8_t default_activation_type = 0x00;

Byte_writer begin_message(Payload_type type, std::uint32_t length) {
  Byte_writer writer;
  writer.u8(own_version).u8(own_version ^ 0xFFU).u16(static_cast<std::uint16_t>(type)).u32(length);
  return writer;
}

/// source(2) type(1) reserved(4)
Bytes routing_activation_request(std::uint16_t source) {
  return begin_message(Payload_type::routing_activation_request, 7)
      .u16(source)
      .u8(default_activation_type)
      .u32(0)
      .take();
}

/// source(2)
Bytes alive_check_response(std::uint16_t source) {
  return begin_message(Payload_type::alive_check_response, 2).u16(source).take();
}

Deadline after(std::chrono::milliseconds limit) { return std::chrono::steady_clock::now() + limit; }

}  // namespace

void Doip_session::activate_routing() {
  doing_ = "activating routing with entity " + hex_text(settings_.entity_address, 4);
  auto const deadline = after(settings_.timeout);
  try {
    stream_->send(routing_activation_request(settings_.tester_address), deadline);
    for (;;) {
      auto const message = next_message(deadline);
      if (message.type != Payload_type::routing_activation_response) {
        continue;
      }
      Byte_reader reader{message.payload};
      auto const tester = reader.u16();
      auto const entity = reader.u16();
      auto const code = reader.u8();
      if (!reader.ok()) {
        fail("the answer is too short");
      }
      if (code != static_cast<std::uint8_t>(doip::Activation_code::activated)) {
        fail("denied with " + activation_words(code));
      }
      if (tester != settings_.tester_address || entity != settings_.entity_address) {
        fail("entity " + hex_text(entity, 4) + " answered to tester " + hex_text(tester, 4));
      }
      return;
    }
  } catch (Stream_error const& error) {
    fail(error, settings_.timeout);
  }
}

void Doip_session::send_request(Byte_view user_data, std::string doing) {
  doing_ = std::move(doing);
  try {
    stream_->send(doip::diagnostic_message(own_version, settings_.tester_address, settings_.entity_address, user_data),
                  after(settings_.timeout));
  } catch (Stream_error const& error) {
    fail(error, settings_.timeout);
  }
}

Bytes Doip_session::next_response(std::chrono::milliseconds limit) {
  auto const deadline = after(limit);
  try {
    for (;;) {
      auto const message = next_message(deadline);
      if (message.type == Payload_type::diagnostic_nack) {
        refuse_if_nack(message);
      } else if (message.type == Payload_type::diagnostic_message) {
        auto const response = doip::read_diagnostic_message(message.payload);
        if (response && is_from_entity(response->source, response->target)) {
          return {response->user_data.begin(), response->user_data.end()};
        }
      }
    }
  } catch (Stream_error const& error) {
    fail(error, limit);
  }
}

void Doip_session::idle_until(Deadline deadline) {
  try {
    for (;;) {
      next_message(deadline);
    }
  } catch (Stream_error const& error) {
    if (error.kind() != Stream_error::Kind::timed_out) {
      doing_ = "waiting for the next reading";
      fail(error, {});
    }
  }
}

/// The next message that means anything to a tester, with alive checks answered and header complaints reported.
Doip_session::Message Doip_session::next_message(Deadline deadline) {
  for (;;) {
    auto message = receive_message(deadline);
    if (message.type == Payload_type::alive_check_request) {
      stream_->send(alive_check_response(settings_.tester_address), after(settings_.timeout));
    } else if (message.type == Payload_type::header_nack) {
      fail(message.payload.size() == 1
               ? "the entity refused a message with " + header_nack_words(message.payload.front())
               : "the entity refused a message");
    } else {
      return message;
    }
  }
}

Doip_session::Message Doip_session::receive_message(Deadline deadline) {
  receive_up_to(Header::size, deadline);
  auto const header = doip::read_header(received_).value_or(Header{});
  bool const spoken = header.version == doip::version_2012 || header.version == doip::version_2019;
  if (!spoken || header.inverse_version != (header.version ^ 0xFFU)) {
    fail("what answers is no DoIP entity (it sent " + hex_text(header.version, 2) + ' ' +
         hex_text(header.inverse_version, 2) + " for a protocol version)");
  }
  if (header.length > max_payload_bytes) {
    fail("the entity announced a message of " + std::to_string(header.length) + " bytes, more than " +
         std::to_string(max_payload_bytes));
  }
  receive_up_to(Header::size + header.length, deadline);
  Message message{header.type, {received_.begin() + Header::size, received_.end()}};
  received_.clear();
  return message;
}

/// Completes `received_` to exactly `size` bytes. What has arrived before a deadline is kept for the next time.
void Doip_session::receive_up_to(std::size_t size, Deadline deadline) {
  while (received_.size() < size) {
    auto const part = stream_->receive(size - received_.size(), deadline);
    received_.insert(received_.end(), part.begin(), part.end());
  }
}

bool Doip_session::is_from_entity(std::uint16_t source, std::uint16_t target) const noexcept {
  return source == settings_.entity_address && target == settings_.tester_address;
}

/// source(2) target(2) code(1) [previous message], source being the entity that refuses.
void Doip_session::refuse_if_nack(Message const& message) const {
  Byte_reader reader{message.payload};
  auto const source = reader.u16();
  auto const target = reader.u16();
  auto const code = reader.u8();
  if (reader.ok() && is_from_entity(source, target)) {
    fail("the entity did not accept the request: " + diagnostic_nack_words(code));
  }
}

void Doip_session::fail(std::string const& what) const { throw Read_error{doing_ + ": " + what}; }

void Doip_session::fail(Stream_error const& error, std::chrono::milliseconds limit) const {
  if (error.kind() == Stream_error::Kind::lost) {
    throw Connection_lost{doing_ + ": " + error.what()};
  }
  fail("no answer within " + limit_text(limit));
}

}  // namespace flashwatch_read
