// SPDX-License-Identifier: Apache-2.0
#include "orvel/com/runtime/instance_id.h"

#include <utility>

#include "platform/src/com/binding/instance_number.h"
#include "platform/src/com/runtime/process_runtime.h"

namespace orvel::com::runtime {

Instance_id::Instance_id(std::string text) : text_(std::move(text)) {
  linux_platform::com::require_instance_identifier(text_, linux_platform::com::Process_runtime::get()->settings());
}

}  // namespace orvel::com::runtime
