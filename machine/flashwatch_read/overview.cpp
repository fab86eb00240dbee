// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/overview.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>

#include "machine/flashwatch_read/printable.h"

namespace flashwatch_read {
namespace {

std::string counted(std::size_t count, std::string const& one, std::string const& several) {
  return std::to_string(count) + ' ' + (count == 1 ? one : several);
}

std::string applications_text(std::size_t count) { return counted(count, "application", "applications"); }

std::string joined(std::vector<std::string> const& names) {
  std::string text;
  for (auto const& name : names) {
    text += (text.empty() ? "" : " / ") + (name.empty() ? "\"\"" : printable(name));
  }
  return text;
}

std::string label_of(std::uint64_t scid, std::vector<std::string> const& names) {
  if (scid == 0) {
    return "(no SCID)";
  }
  return names.empty() ? "(unknown)" : joined(names);
}

std::vector<std::string> verdict_of(Overview const& overview, Reading const& reading, Amount_style style) {
  std::vector<std::string> lines;
  for (auto const& application : overview.applications) {
    auto const& figures = application.figures;
    if (exceeds(figures)) {
      lines.push_back(application.label + " (SCID " + std::to_string(figures.scid) + ") is " +
                      amount_text(figures.total_write - figures.soft_limit, style) +
                      (style == Amount_style::exact_bytes ? " bytes" : "") + " over its limit.");
    }
  }
  if (lines.empty() && reading.budget_exceeded) {
    lines.emplace_back(completeness_of(reading.report).kind == Completeness::Kind::complete
                           ? "the machine says that an application is over its limit, but the report shows none."
                           : "an application that is not in the report is over its limit.");
  } else if (lines.empty()) {
    lines.emplace_back("No application has exceeded its limit.");
  }
  return lines;
}

void note_incompleteness(Report const& report, std::vector<std::string>& notes) {
  auto const shown = std::to_string(report.entries.size());
  auto const completeness = completeness_of(report);
  auto const machine_has = applications_text(completeness.applications);
  switch (completeness.kind) {
    case Completeness::Kind::complete:
      break;
    case Completeness::Kind::full:
      notes.emplace_back("A report holds at most 15 applications; this machine may have more than those shown.");
      break;
    case Completeness::Kind::part_of_known:
      notes.push_back("The report is cut: its count of " + std::to_string(report.announced) +
                      " (modulo 256) with its length means " + machine_has + ", of which it holds " + shown + '.');
      break;
    case Completeness::Kind::part_of_at_least:
      notes.push_back("The report is cut: its length means at least " + machine_has + ", of which it holds " + shown +
                      '.');
      break;
    case Completeness::Kind::contradiction:
      notes.push_back("The report contradicts itself: it announces " + std::to_string(report.announced) +
                      " and holds " + shown + ". What it holds is shown.");
      break;
  }
  if (report.left_over_bytes > 0) {
    notes.push_back("The report ends within an entry: its last " +
                    counted(report.left_over_bytes, "byte is", "bytes are") + " not shown.");
  }
}

/// "SCID 5 is" or "SCIDs 5, 6 and 20 more are"; `scids` is not empty.
std::string scids_text(std::vector<std::uint64_t> const& scids, std::string const& is, std::string const& are) {
  constexpr std::size_t most_listed = 8;
  if (scids.size() == 1) {
    return "SCID " + std::to_string(scids.front()) + ' ' + is;
  }
  std::string text = "SCIDs ";
  auto const listed = std::min(scids.size(), most_listed);
  for (std::size_t i = 0; i < listed; ++i) {
    text += (i == 0 ? "" : ", ") + std::to_string(scids[i]);
  }
  return text + (listed < scids.size() ? " and " + std::to_string(scids.size() - listed) + " more " : " ") + are;
}

/// What there is to say about the SCIDs of a report, given how many entries have each.
void note_scids(std::map<std::uint64_t, std::size_t> const& entries_of, Scid_names const& names,
                std::vector<std::string>& notes) {
  std::vector<std::uint64_t> unknown;
  std::vector<std::uint64_t> repeated;
  for (auto const& [scid, entries] : entries_of) {
    auto const& known = names.of(scid);
    if (scid == 0) {
      notes.push_back("SCID 0 means that the machine knows no SCID for the application: " + applications_text(entries) +
                      '.');
      continue;
    }
    if (known.size() > 1) {
      notes.push_back("SCID " + std::to_string(scid) + " is shared by " + std::to_string(known.size()) +
                      " names of the mapping file: " + joined(known) + '.');
    }
    if (known.empty() && names.usable()) {
      unknown.push_back(scid);
    }
    if (entries > 1) {
      repeated.push_back(scid);
    }
  }
  if (!unknown.empty()) {
    notes.push_back(scids_text(unknown, "is", "are") + " not in the mapping file.");
  }
  if (!repeated.empty()) {
    notes.push_back(scids_text(repeated, "stands", "stand each") +
                    " for several applications of the report, which cannot be told apart.");
  }
}

std::vector<std::string> notes_on(Reading const& reading, Scid_names const& names) {
  std::vector<std::string> notes;
  note_incompleteness(reading.report, notes);
  auto const& entries = reading.report.entries;
  if (!reading.budget_exceeded && std::any_of(entries.begin(), entries.end(), exceeds)) {
    notes.emplace_back("Identifier 0x17F2 says that no application is over; the report of 0x17F0 says otherwise.");
  }
  std::map<std::uint64_t, std::size_t> count;
  for (auto const& entry : entries) {
    ++count[entry.scid];
  }
  note_scids(count, names, notes);
  if (reading.reconnected) {
    notes.emplace_back("The connection was lost and has been made again.");
  }
  if (!names.problem().empty()) {
    notes.push_back(printable(names.problem()));
  }
  return notes;
}

}  // namespace

Overview make_overview(Reading const& reading, Reading const* before, Scid_names const& names,
                       Overview_context const& context) {
  auto const& entries = reading.report.entries;
  Overview overview;
  overview.machine = context.machine;
  overview.watching = context.watching;
  overview.announced = reading.report.announced;
  auto const trends =
      before == nullptr ? std::vector<std::optional<Trend>>(entries.size()) : trends_between(*before, reading);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    auto const& known = names.of(entries[i].scid);
    overview.applications.push_back({entries[i], known, label_of(entries[i].scid, known), trends[i]});
  }
  overview.budget_exceeded = reading.budget_exceeded || std::any_of(entries.begin(), entries.end(), exceeds);
  overview.verdict = verdict_of(overview, reading, context.amounts);
  overview.notes = notes_on(reading, names);
  return overview;
}

}  // namespace flashwatch_read
