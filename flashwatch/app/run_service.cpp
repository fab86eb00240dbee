// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/app/run_service.h"

namespace orvel::flashwatch::diagnostics {

void run_service(Stats_service_if& service) {
  service.init();
  service.run();
  service.shutdown();
}

}  // namespace orvel::flashwatch::diagnostics
