// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/overview.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
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
      lines.push_back("EXCEEDED: " + application.label + " (SCID " + std::to_string(figures.scid) + ") is " +
                      amount_text(figures.total_write - figures.soft_limit, style) +
                      (style == Amount_style::exact_bytes ? " bytes" : "") + " over its limit.");
    }
  }
  if (lines.empty() && reading.budget_exceeded) {
    lines.emplace_back("EXCEEDED: an application that is not in the report is over its limit.");
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

void note_flag_contradictions(Reading const& reading, std::vector<std::string>& notes) {
  auto const& entries = reading.report.entries;
  bool const listed = std::any_of(entries.begin(), entries.end(), exceeds);
  if (listed && !reading.budget_exceeded) {
    notes.emplace_back("Identifier 0x17F2 says that no application is over; the report of 0x17F0 says otherwise.");
  }
  if (!listed && reading.budget_exceeded && completeness_of(reading.report).kind == Completeness::Kind::complete) {
    notes.emplace_back("Identifier 0x17F2 says that an application is over; the report of 0x17F0 shows none.");
  }
}

/// One SCID of the report and what there is to say about it.
void note_scid(std::uint64_t scid, std::size_t entries, Scid_names const& names, std::vector<std::string>& notes) {
  auto const text = "SCID " + std::to_string(scid);
  auto const& known = names.of(scid);
  if (scid == 0) {
    notes.push_back("SCID 0 means that the machine knows no SCID for the application: " + applications_text(entries) +
                    '.');
    return;
  }
  if (known.size() > 1) {
    notes.push_back(text + " is shared by " + std::to_string(known.size()) +
                    " names of the mapping file: " + joined(known) + '.');
  } else if (known.empty() && names.usable()) {
    notes.push_back(text + " is not in the mapping file.");
  }
  if (entries > 1) {
    notes.push_back(text + " stands for " + std::to_string(entries) +
                    " applications of the report; they cannot be told apart.");
  }
}

std::vector<std::string> notes_on(Reading const& reading, Scid_names const& names) {
  std::vector<std::string> notes;
  note_incompleteness(reading.report, notes);
  note_flag_contradictions(reading, notes);
  std::map<std::uint64_t, std::size_t> count;
  for (auto const& entry : reading.report.entries) {
    ++count[entry.scid];
  }
  for (auto const& [scid, entries] : count) {
    note_scid(scid, entries, names, notes);
  }
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
