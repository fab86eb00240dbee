// SPDX-License-Identifier: Apache-2.0
// What the tester's tool makes of an entity's bytes. First byte: whether they are a conversation or the record of a
// report, whether that is shown, and how wide the table is; second byte: the size of the pieces. However a conversation
// is cut, it says the same; what is shown of a report is fit for a terminal, and its JSON holds every application.
#include <memory>
#include <utility>

#include <nlohmann/json.hpp>

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

/// What the entity said: why nothing, or its figures.
using Said = std::pair<std::string, std::vector<std::uint64_t>>;

Said listen(Bytes const& stream, std::size_t piece) {
  Said said;
  auto& [error, figures] = said;
  try {
    Doip_session session(std::make_unique<Given_stream>(stream, piece), settings);
    session.activate_routing();
    auto const report = read_figures(session, settings).report;
    figures = {report.announced, report.left_over_bytes};
    for (auto const& entry : report.entries) {
      figures.insert(figures.end(), {entry.scid, entry.soft_limit, entry.total_write, entry.session_write});
    }
  } catch (Read_error const& refused) {
    error = refused.what();
    require(fuzz::is_one_plain_line(error), "an error is one line");
  }
  return said;
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
  auto const applications = nlohmann::json::parse(json_text(overview)).at("applications");
  auto const& entries = reading.report.entries;
  require(std::equal(applications.begin(), applications.end(), entries.begin(), entries.end(),
                     [](auto const& shown, Report_entry const& entry) { return shown.at("scid") == entry.scid; }),
          "the JSON holds every application");
  std::string table = table_text(overview, {width, false, Amount_style::units});
  require(!table.empty() && table.back() == '\n', "the last line is ended");
  table.erase(std::remove(table.begin(), table.end(), '\n'), table.end());
  require(fuzz::is_one_plain_line(table), "what is shown steers no terminal");
}

}  // namespace

void fuzz::check(Input input) {
  unsigned const choice = input.u8();
  std::size_t const piece = input.u8() + std::size_t{1};
  auto const bytes = input.rest();
  if ((choice & 1U) != 0) {
    same_in_pieces(bytes, piece, listen);
  } else if (auto const report = parse_report(bytes); report && (choice & 6U) == 0) {
    // Showing takes a hundred times longer than reading.
    show({*report, true, {}, false}, std::size_t{40} + choice / 2);
  }
}
