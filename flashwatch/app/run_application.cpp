// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/app/run_application.h"

#include <exception>
#include <memory>
#include <utility>

#include "ara/log/logging.h"
#include "flashwatch/app/build_service.h"
#include "flashwatch/app/init_ara_logging.h"
#include "flashwatch/app/run_service.h"
#include "tarn/com/runtime/component_singleton.h"

namespace orvel::flashwatch {

int run_application() {
  using tarn::com::runtime::Component_singleton;
  init_ara_logging();
  std::unique_ptr<Component_singleton> ended_component;
  std::unique_ptr<diagnostics::Stats_service_if> ended_service;
  try {
    // Leaving by an exception destroys both, the service first, before the handler below logs it.
    auto component = std::make_unique<Component_singleton>(false, "");
    auto service = diagnostics::build_service();
    diagnostics::run_service(*service);
    ended_component = std::move(component);
    ended_service = std::move(service);
  } catch (std::exception const& error) {
    ara::log::LogError() << "Exception:" << error.what() << "caught - application will terminate";
    return 1;
  } catch (...) {
    ara::log::LogError() << "Exception: unknown caught - application will terminate";
    return 1;
  }
  // From here on nothing is caught.
  ara::log::LogDebug() << "Application finished";
  return 0;
}

}  // namespace orvel::flashwatch
