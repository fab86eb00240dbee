// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_BUILD_SERVICE_H
#define FLASHWATCH_APP_BUILD_SERVICE_H

#include <memory>

#include "flashwatch/app/stats_service_if.h"

namespace orvel::flashwatch::diagnostics {

/// The service as "/etc/flashwatch.json" wants it, with the process's signals registered. Throws what a broken
/// configuration or an element that cannot be made throws.
std::unique_ptr<Stats_service_if> build_service();

}  // namespace orvel::flashwatch::diagnostics

#endif
