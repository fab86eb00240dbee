// SPDX-License-Identifier: Apache-2.0
#include "ara/phm/phm_client.h"

#include <utility>

#include "platform/src/manifest/machine_manifest.h"
#include "platform/src/phm/checkpoint_window.h"

namespace ara::phm {

Phm_client::Phm_client(std::string instance) : instance_(std::move(instance)) {
  // Read for its errors: a process whose supervision is set up wrongly must not start.
  linux_platform::phm::checkpoint_window(linux_platform::manifest::Machine_manifest::of_this_process(), instance_);
}

Phm_client::~Phm_client() = default;

std::string const& Phm_client::instance() const noexcept { return instance_; }

}  // namespace ara::phm
