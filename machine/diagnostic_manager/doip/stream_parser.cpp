// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/doip/stream_parser.h"

#include <algorithm>
#include <optional>

namespace machine::diagnostic_manager::doip {

Stream_parser::Step Stream_parser::next(Byte_view& input) {
  if (state_ == State::complete) {
    release();
    state_ = State::header;
  }
  while (state_ == State::header) {
    std::size_t const skipped = std::min<std::size_t>(to_skip_, input.size());
    to_skip_ -= static_cast<std::uint32_t>(skipped);
    input = input.after(skipped);
    if (!read_header_bytes(input)) {
      return Need_more{};
    }
    Step const step = begin_payload();
    if (!std::holds_alternative<Need_more>(step)) {
      return step;
    }
  }
  std::size_t const missing = header_.length - payload_.size();
  Byte_view const part = input.first(missing);
  payload_.insert(payload_.end(), part.begin(), part.end());
  input = input.after(missing);
  if (part.size() < missing) {
    return Need_more{};
  }
  state_ = State::complete;
  return Message{header_.version, header_.type, payload_};
}

bool Stream_parser::read_header_bytes(Byte_view& input) {
  Byte_view const part = input.first(header_bytes_.size() - header_used_);
  std::copy(part.begin(), part.end(), header_bytes_.begin() + static_cast<std::ptrdiff_t>(header_used_));
  header_used_ += part.size();
  input = input.after(part.size());
  return to_skip_ == 0 && header_used_ == header_bytes_.size();
}

Stream_parser::Step Stream_parser::begin_payload() {
  header_ = read_header({header_bytes_.data(), header_bytes_.size()}).value_or(Header{});
  header_used_ = 0;
  std::optional<Header_nack> refused = check_header(header_, Transport::tcp, max_data_size_);
  if (refused != Header_nack::incorrect_pattern && header_.type == Payload_type::header_nack) {
    to_skip_ = header_.length;
    return Need_more{};
  }
  if (!refused && !budget_.take(header_.length)) {
    refused = Header_nack::out_of_memory;
  }
  if (!refused) {
    reserved_ = header_.length;
    refused = check_length(header_);
  }
  if (refused) {
    release();
    to_skip_ = header_.length;
    return Refusal{header_.version, *refused};
  }
  payload_.reserve(header_.length);
  state_ = State::payload;
  return Need_more{};
}

void Stream_parser::release() noexcept {
  budget_.give_back(reserved_);
  reserved_ = 0;
  Bytes().swap(payload_);
}

}  // namespace machine::diagnostic_manager::doip
