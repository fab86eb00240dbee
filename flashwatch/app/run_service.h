// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_APP_RUN_SERVICE_H
#define FLASHWATCH_APP_RUN_SERVICE_H

#include "flashwatch/app/stats_service_if.h"

namespace orvel::flashwatch::diagnostics {

/// Takes the service through its life. Returns after a stop was requested; throws what the service throws.
void run_service(Stats_service_if& service);

}  // namespace orvel::flashwatch::diagnostics

#endif
