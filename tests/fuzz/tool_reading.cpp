// SPDX-License-Identifier: Apache-2.0
// What the tester's tool makes of an entity's bytes. First byte: whether they are the whole conversation or only the
// record of the report, whether they are shown, and how wide the table is; second byte: the size of the pieces. However
// they are cut, they say the same; what is shown of it is fit for a terminal, and its JSON holds the figures of the
// record.
#include <memory>
#include <optional>

#include <nlohmann/json.hpp>

#include "machine/diagnostic_manager/doip/messages.h"
#include "machine/flashwatch_read/identifier_reader.h"
#include "machine/flashwatch_read/json_text.h"
#include "machine/flashwatch_read/table.h"
#include "tests/fuzz/fuzz.h"

namespace {

using namespace flashwatch_read;
using fuzz::require;

constexpr Tester_settings settings{};
constexpr std::size_t longest_payload = 65536;

class Given_stream final : public Byte_stream_if {
 public:
  Given_stream(Bytes const& bytes, std::size_t piece) : rest_(bytes), piece_(piece) {}

  void send(Byte_view /*bytes*/, Deadline /*deadline*/) override {}
  Bytes receive(std::size_t most, Deadline /*deadline*/) override {
    require(most > 0 && most <= longest_payload, "no message is longer than the tool takes");
    if (rest_.empty()) {
      throw Stream_error{Stream_error::Kind::lost, "the end"};
    }
    auto const part = rest_.first(std::min(most, piece_));
    rest_ = rest_.after(part.size());
    return {part.begin(), part.end()};
  }

 private:
  Byte_view rest_;
  std::size_t piece_;
};

void append(Bytes& stream, Bytes const& message) { stream.insert(stream.end(), message.begin(), message.end()); }

/// An entity's whole side of a reading of `record`.
Bytes conversation_about(Bytes const& record) {
  namespace doip = machine::diagnostic_manager::doip;
  auto const answer = [](Bytes const& response) {
    return doip::diagnostic_message(2, settings.entity_address, settings.tester_address, response);
  };
  Bytes response{0x62, 0x17, 0xF0};
  append(response, record);
  Bytes stream = doip::routing_activation_response(2, settings.tester_address, settings.entity_address,
                                                   doip::Activation_code::activated);
  append(stream, answer(response));
  append(stream, answer({0x62, 0x17, 0xF2, 0x01}));
  return stream;
}

void check_json(std::string const& text, Report const& report) {
  auto const applications = nlohmann::json::parse(text).at("applications");
  require(applications.size() == report.entries.size(), "the JSON holds every application");
  for (std::size_t i = 0; i < applications.size(); ++i) {
    require(applications[i].at("scid") == report.entries[i].scid, "the JSON is exact");
  }
}

void check_plain_lines(std::string const& text) {
  for (std::size_t begin = 0; begin < text.size();) {
    auto const end = text.find('\n', begin);
    require(end != std::string::npos, "the last line is ended");
    require(fuzz::is_one_plain_line(text.substr(begin, end - begin)), "what is shown steers no terminal");
    begin = end + 1;
  }
}

/// What the entity said: a reading, or why there is none.
struct Said {
  std::optional<Reading> reading;
  std::string error;
};

Said listen(Bytes const& stream, std::size_t piece) {
  try {
    Doip_session session(std::make_unique<Given_stream>(stream, piece), settings);
    session.activate_routing();
    return {read_figures(session, settings), {}};
  } catch (Read_error const& error) {
    require(fuzz::is_one_plain_line(error.what()), "an error is one line");
    return {std::nullopt, error.what()};
  }
}

bool same(Said const& a, Said const& b) {
  if (!a.reading || !b.reading) {
    return a.error == b.error;
  }
  auto const& first = a.reading->report;
  auto const& second = b.reading->report;
  return first.announced == second.announced && first.left_over_bytes == second.left_over_bytes &&
         std::equal(first.entries.begin(), first.entries.end(), second.entries.begin(), second.entries.end(),
                    [](Report_entry const& one, Report_entry const& other) {
                      return one.scid == other.scid && one.soft_limit == other.soft_limit &&
                             one.total_write == other.total_write && one.session_write == other.session_write;
                    });
}

void show(Reading const& reading, std::size_t width) {
  static auto const names = Scid_names::from_text(
      R"({"mappings": [{"app_name": "\u001b[2J\u202e\n\u007f", "scid": 1}, {"app_name": "媒体", "scid": 1}]})", "map");
  Reading before = reading;
  before.taken -= std::chrono::seconds(1);
  for (auto& entry : before.report.entries) {
    entry.total_write /= 2;
  }
  auto const overview = make_overview(reading, &before, names, {"entity", true, Amount_style::units});
  check_json(json_text(overview), reading.report);
  check_plain_lines(table_text(overview, {width, false, Amount_style::units}));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  fuzz::Input input(data, size);
  unsigned const choice = input.u8();
  std::size_t const piece = input.u8() + std::size_t{1};
  auto const bytes = input.rest();
  auto const stream = (choice & 1U) != 0 ? bytes : conversation_about(bytes);
  auto const said = listen(stream, stream.size() + 1);
  require(same(listen(stream, piece), said) && same(listen(stream, 1), said), "pieces say the same");
  // Showing takes a hundred times longer than reading.
  if (said.reading && (choice & 6U) == 0) {
    show(*said.reading, std::size_t{40} + choice / 2);
  }
  return 0;
}
