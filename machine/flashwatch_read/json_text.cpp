// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/json_text.h"

#include <nlohmann/json.hpp>

namespace flashwatch_read {
namespace {

using Json = nlohmann::ordered_json;

Json application_json(Application const& application, bool watching) {
  auto const& figures = application.figures;
  auto const left = remainder_of(figures.soft_limit, figures.total_write);
  Json object{{"scid", figures.scid},
              {"names", application.names},
              {"session_write", figures.session_write},
              {"total_write", figures.total_write},
              {"soft_limit", figures.soft_limit},
              {"left", left.over ? 0 : left.bytes},
              {"over_by", left.over ? left.bytes : 0},
              {"exceeded", exceeds(figures)}};
  if (watching) {
    auto const& trend = application.trend;
    auto const seconds = trend && !left.over ? seconds_until_written(*trend, left.bytes) : std::nullopt;
    object["write_rate"] = trend ? Json(rate_of(*trend)) : Json(nullptr);
    object["used_up_in"] = seconds ? Json(*seconds) : Json(nullptr);
  }
  return object;
}

}  // namespace

std::string json_text(Overview const& overview) {
  Json document{{"version", 1},
                {"machine", overview.machine},
                {"budget_exceeded", overview.budget_exceeded},
                {"announced", overview.announced},
                {"applications", Json::array()},
                {"notes", overview.notes}};
  for (auto const& application : overview.applications) {
    document["applications"].push_back(application_json(application, overview.watching));
  }
  return document.dump(-1, ' ', true) + '\n';
}

}  // namespace flashwatch_read
