// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_DOIP_STREAM_PARSER_H
#define MACHINE_DIAGNOSTIC_MANAGER_DOIP_STREAM_PARSER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <variant>

#include "machine/diagnostic_manager/bytes/byte_view.h"
#include "machine/diagnostic_manager/doip/header.h"
#include "machine/diagnostic_manager/doip/header_nack.h"
#include "machine/diagnostic_manager/doip/memory_budget.h"

namespace machine::diagnostic_manager::doip {

/// Cuts one connection's byte stream into messages, however the stream was split on its way.
///
/// A header is judged before a byte of its payload is kept: what is refused, or is a negative acknowledgement, which
/// is never answered, is skipped without being stored, whatever length it claims. A payload is kept only as long as its
/// message takes to arrive, and only within the budget that all connections share.
class Stream_parser {
 public:
  /// The input is used up and the message in it is not complete.
  struct Need_more {};
  /// A complete message of a type and length that are legal here. `payload` is valid until the next call.
  struct Message {
    std::uint8_t version;
    Payload_type type;
    Byte_view payload;
  };
  /// A header that has to be answered with `code`. Its payload is skipped; where ends_connection(code), nothing
  /// sensible can follow.
  struct Refusal {
    std::uint8_t version;
    Header_nack code;
  };
  using Step = std::variant<Need_more, Message, Refusal>;

  /// `budget` outlives the parser.
  Stream_parser(std::uint32_t max_data_size, Memory_budget& budget) noexcept
      : max_data_size_(max_data_size), budget_(budget) {}
  ~Stream_parser() { release(); }
  Stream_parser(Stream_parser const&) = delete;
  Stream_parser& operator=(Stream_parser const&) = delete;

  /// Goes on to the next message, taking bytes from the front of `input`.
  Step next(Byte_view& input);

 private:
  enum class State : std::uint8_t { header, payload, complete };

  bool read_header_bytes(Byte_view& input);
  Step begin_payload();
  void release() noexcept;

  std::uint32_t const max_data_size_;
  Memory_budget& budget_;
  State state_ = State::header;
  std::array<std::uint8_t, Header::size> header_bytes_{};
  std::size_t header_used_ = 0;
  Header header_;
  Bytes payload_;
  std::size_t reserved_ = 0;
  std::uint32_t to_skip_ = 0;
};

}  // namespace machine::diagnostic_manager::doip

#endif
