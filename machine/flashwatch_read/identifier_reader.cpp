// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/identifier_reader.h"

#include <string>
#include <utility>

#include "machine/diagnostic_manager/bytes/byte_reader.h"
#include "machine/diagnostic_manager/bytes/byte_writer.h"
#include "machine/diagnostic_manager/uds/response_code.h"
#include "machine/flashwatch_read/words.h"

namespace flashwatch_read {
namespace {

using machine::diagnostic_manager::Byte_reader;
using machine::diagnostic_manager::Byte_writer;

constexpr std::uint8_t read_data_by_identifier = 0x22;
constexpr std::uint8_t positive = read_data_by_identifier + 0x40;
constexpr std::uint8_t negative = 0x7F;
constexpr auto response_pending =
    static_cast<std::uint8_t>(machine::diagnostic_manager::uds::Response_code::response_pending);
constexpr std::uint16_t report_identifier = 0x17F0;
constexpr std::uint16_t exceedance_identifier = 0x17F2;
/// P2*server_max of ISO 14229-2: how long a server may take between two announcements that it is still working.
constexpr std::chrono::milliseconds pending_extension{5000};
/// How many answers may come until one is final.
constexpr unsigned max_answers = 12;

std::string doing_text(std::uint16_t identifier, Tester_settings const& settings) {
  return "reading data identifier " + hex_text(identifier, 4) + " of entity " + hex_text(settings.entity_address, 4);
}

}  // namespace

Bytes read_identifier(Doip_session& session, Tester_settings const& settings, std::uint16_t identifier) {
  auto const doing = doing_text(identifier, settings);
  session.send_request(Byte_writer{}.u8(read_data_by_identifier).u16(identifier).take(), doing);
  auto limit = settings.timeout;
  for (unsigned answers = 0; answers < max_answers; ++answers) {
    auto const response = session.next_response(limit);
    Byte_reader reader{response};
    auto const kind = reader.u8();
    if (kind == negative) {
      auto const service = reader.u8();
      auto const code = reader.u8();
      if (!reader.ok() || service != read_data_by_identifier) {
        continue;
      }
      if (code != response_pending) {
        throw Read_error{doing + ": negative response " + negative_response_words(code)};
      }
      limit = settings.timeout + pending_extension;
    } else if (kind == positive) {
      auto const answered = reader.u16();
      if (!reader.ok() || answered != identifier) {
        throw Read_error{doing + ": the response is for something else"};
      }
      return {reader.rest().begin(), reader.rest().end()};
    }
  }
  throw Read_error{doing + ": no final response among " + std::to_string(max_answers) +
                   " answers, the last being response pending or for another service"};
}

Reading read_figures(Doip_session& session, Tester_settings const& settings) {
  auto report = parse_report(read_identifier(session, settings, report_identifier));
  if (!report) {
    throw Read_error{doing_text(report_identifier, settings) + ": the record is empty, not even a count is in it"};
  }
  auto const taken = std::chrono::steady_clock::now();
  auto const exceedance = read_identifier(session, settings, exceedance_identifier);
  if (exceedance.size() != 1 || exceedance.front() > 1) {
    throw Read_error{doing_text(exceedance_identifier, settings) + ": the record is not one byte of 0 or 1"};
  }
  return {std::move(*report), exceedance.front() == 1, taken, false};
}

}  // namespace flashwatch_read
