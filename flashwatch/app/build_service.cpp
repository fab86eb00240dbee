// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/app/build_service.h"

#include <utility>

#include "flashwatch/app/shutdown_requested.h"
#include "flashwatch/app/signal_handler.h"
#include "flashwatch/app/stats_service_builder.h"
#include "flashwatch/app/stats_service_elems_factory.h"
#include "flashwatch/config/config_reader.h"
#include "flashwatch/config/file_reader.h"

namespace orvel::flashwatch::diagnostics {
namespace {

constexpr char const* configuration_path = "/etc/flashwatch.json";

}  // namespace

std::unique_ptr<Stats_service_if> build_service() {
  Signal_handler signal_handler(&request_shutdown);
  auto file_reader = std::make_unique<File_reader>();
  Config_reader config(configuration_path, std::move(file_reader));
  Stats_service_elems_factory const factory;
  Stats_service_builder const builder(config, signal_handler, factory);
  return builder.build(shutdown_requested);
}

}  // namespace orvel::flashwatch::diagnostics
