// SPDX-License-Identifier: Apache-2.0
#include "machine/diagnostic_manager/uds/read_request.h"

#include <utility>

#include "machine/diagnostic_manager/bytes/byte_writer.h"

namespace machine::diagnostic_manager::uds {
namespace {

constexpr std::uint8_t positive_response = 0x62;

}  // namespace

Read_request::Read_request(Identifier_table const& table, std::vector<std::uint16_t> identifiers,
                           std::size_t max_response, Done done)
    : table_(table), order_(std::move(identifiers)), max_response_(max_response), done_(std::move(done)) {
  for (std::uint16_t const identifier : order_) {
    parts_[identifier];
  }
}

void Read_request::start(Session session) {
  for (auto& [identifier, part] : parts_) {
    part.running = table_.at(identifier)->read(session, [this, &kept = part.outcome](Read_outcome outcome) {
      kept = std::move(outcome);
      finish_if_decided();
    });
  }
  started_ = true;
  finish_if_decided();
}

void Read_request::finish_if_decided() {
  if (!started_) {
    return;
  }
  if (std::optional<Outcome> outcome = decide()) {
    // The owner may destroy this object in the call.
    Done const done = done_;
    done(std::move(*outcome));
  }
}

std::optional<Read_request::Outcome> Read_request::decide() const {
  Byte_writer response;
  response.u8(positive_response);
  for (std::uint16_t const identifier : order_) {
    std::optional<Read_outcome> const& outcome = parts_.at(identifier).outcome;
    if (!outcome) {
      return std::nullopt;
    }
    if (auto const* code = std::get_if<Response_code>(&*outcome)) {
      return std::optional<Outcome>(std::in_place, *code);
    }
    auto const& record = std::get<Bytes>(*outcome);
    if (response.size() + 2 + record.size() > max_response_) {
      return std::optional<Outcome>(std::in_place, Response_code::response_too_long);
    }
    response.u16(identifier).bytes(record);
  }
  return std::optional<Outcome>(std::in_place, response.take());
}

}  // namespace machine::diagnostic_manager::uds
