// SPDX-License-Identifier: Apache-2.0
#include "tarn/com/runtime/component_singleton.h"

#include <memory>

#include "platform/src/com/runtime/process_runtime.h"
#include "platform/src/com/runtime/settings.h"
#include "platform/src/manifest/machine_manifest.h"

namespace tarn::com::runtime {

namespace com = linux_platform::com;

Component_singleton::Component_singleton(bool /*reserved_flag*/, std::string const& /*reserved_text*/) {
  auto const& manifest = linux_platform::manifest::Machine_manifest::of_this_process();
  com::Process_runtime::start(std::make_shared<com::Runtime>(com::read_settings(manifest)));
}

Component_singleton::~Component_singleton() {
  if (auto const runtime = com::Process_runtime::end()) {
    // Proxies and skeletons that outlive this object find a runtime that has ended.
    runtime->stop();
  }
}

}  // namespace tarn::com::runtime
