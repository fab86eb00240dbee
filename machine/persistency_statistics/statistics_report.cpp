// SPDX-License-Identifier: Apache-2.0
#include "machine/persistency_statistics/statistics_report.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>
#include <vector>

#include "platform/src/com/serializer/utf8.h"
#include "platform/src/per/names.h"

namespace persistency_statistics {
namespace {

using linux_platform::per::printable;

std::vector<std::string> without(std::set<std::string> const& ids, std::set<std::string> const& others) {
  std::vector<std::string> rest;
  std::set_difference(ids.begin(), ids.end(), others.begin(), others.end(), std::back_inserter(rest));
  return rest;
}

}  // namespace

Statistics_report::Statistics_report(Usage_source_if& source, Budgets const& budgets, ara::log::Logger& logger)
    : source_(source), budgets_(budgets), logger_(logger) {}

Statistics_report::Output Statistics_report::now() {
  std::lock_guard<std::mutex> const lock(mutex_);
  auto const reading = read();
  for (auto const& finding : reading.findings) {
    logger_.LogWarn() << finding;
  }
  Ids unreportable;
  auto output = join(reading, unreportable);
  Ids ids;
  for (auto const& [id, stat] : output) {
    ids.insert(ids.end(), id);
  }
  log_applications(std::move(ids));
  log_unreportable(std::move(unreportable));
  return output;
}

// A failure that stays is told once.
Usage_source_if::Reading Statistics_report::read() {
  try {
    auto reading = source_.read();
    trouble_.clear();
    return reading;
  } catch (std::exception const& error) {
    if (std::exchange(trouble_, error.what()) != error.what()) {
      logger_.LogWarn() << "the storages cannot be read:" << error.what();
    }
    throw;
  }
}

Statistics_report::Output Statistics_report::join(Usage_source_if::Reading const& reading, Ids& unreportable) const {
  Output output;
  for (auto const& application : reading.applications) {
    auto const& id = application.application_id;
    // One id that is no text would make the whole answer unreadable.
    if (!linux_platform::com::is_utf8(id) || output.size() >= max_applications) {
      unreportable.insert(id);
      continue;
    }
    auto const& budget = budgets_.of(id);
    auto const& session = application.session;
    auto const& total = application.total;
    output[id] = {id,          session.read,   session.write, session.setvalue, total.read,
                  total.write, total.setvalue, budget.soft,   budget.hard};
  }
  return output;
}

void Statistics_report::log_applications(Ids ids) {
  if (!reported_) {
    logger_.LogInfo() << "applications with a storage:" << ids.size();
  } else {
    for (auto const& id : without(ids, *reported_)) {
      logger_.LogInfo() << "application with a new storage:" << printable(id);
    }
    for (auto const& id : without(*reported_, ids)) {
      logger_.LogInfo() << "application without a storage any more:" << printable(id);
    }
  }
  reported_ = std::move(ids);
}

void Statistics_report::log_unreportable(Ids ids) {
  for (auto const& id : without(ids, unreportable_)) {
    logger_.LogWarn() << "application left out, its id is not UTF-8 or there are too many:" << printable(id);
  }
  unreportable_ = std::move(ids);
}

}  // namespace persistency_statistics
