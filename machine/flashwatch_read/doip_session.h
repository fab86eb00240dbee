// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_DOIP_SESSION_H
#define MACHINE_FLASHWATCH_READ_DOIP_SESSION_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "machine/diagnostic_manager/doip/header.h"
#include "machine/flashwatch_read/byte_stream_if.h"
#include "machine/flashwatch_read/read_error.h"

namespace flashwatch_read {

/// The addresses and the patience of a tester.
struct Tester_settings {
  std::uint16_t tester_address = 0x0E80;
  std::uint16_t entity_address = 0x1001;
  std::chrono::milliseconds timeout{5000};  ///< for each answer
};

/// The entity ended the connection, which a new one may mend.
class Connection_lost : public Read_error {
 public:
  using Read_error::Read_error;
};

/// The tester's end of one DoIP connection (ISO 13400-2, version 2 on the wire, 2 and 3 understood): routing activation
/// and diagnostic messages. Answers alive checks whenever it waits, and passes over messages that are not for it.
/// A message is judged by its header before its payload is kept, and is at most 64 KiB long. Every operation throws
/// Read_error, or Stop_requested.
class Doip_session {
 public:
  Doip_session(std::unique_ptr<Byte_stream_if> stream, Tester_settings const& settings)
      : stream_{std::move(stream)}, settings_{settings} {}

  void activate_routing();

  /// Sends a request to the entity. `doing` begins the text of any error until the next request, such as "reading
  /// 0x17F0".
  void send_request(Byte_view user_data, std::string doing);
  /// The user data of the entity's next diagnostic message, which is not empty.
  Bytes next_response(std::chrono::milliseconds limit);

  /// Answers alive checks until the deadline.
  void idle_until(Deadline deadline);

 private:
  using Header = machine::diagnostic_manager::doip::Header;
  struct Message {
    machine::diagnostic_manager::doip::Payload_type type;
    Bytes payload;
  };

  Message next_message(Deadline deadline);
  Message receive_message(Deadline deadline);
  void receive_up_to(std::size_t size, Deadline deadline);
  bool is_from_entity(std::uint16_t source, std::uint16_t target) const noexcept;
  void refuse_if_nack(Message const& message) const;
  [[noreturn]] void fail(std::string const& what) const;
  [[noreturn]] void fail(Stream_error const& error, std::chrono::milliseconds limit) const;

  std::unique_ptr<Byte_stream_if> stream_;
  Tester_settings settings_;
  std::string doing_;
  Bytes received_;  ///< the beginning of the next message
};

}  // namespace flashwatch_read

#endif
