// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_BINDING_INSTANCE_NUMBER_H
#define PLATFORM_SRC_COM_BINDING_INSTANCE_NUMBER_H

#include <cstdint>
#include <string>

#include "platform/src/com/message/service_deployment.h"
#include "platform/src/com/runtime/settings.h"

namespace linux_platform::com {

/// Whether `text` can mean an instance of any service: a number, or a name that the manifest gives an instance.
/// tarn::com::Invalid_argument_exception naming it when not; the refusal is logged first.
void require_instance_identifier(std::string const& text, Settings const& settings);

/// The instance of `service` that `text` means. Errors as above, also for a name that only other services have.
std::uint16_t instance_number(std::string const& text, Service_deployment const& service);

/// The deployed instance of `service` that `text` means, with its port. Errors as above, also for a number that is not
/// deployed.
Service_deployment::Instance deployed_instance(std::string const& text, Service_deployment const& service);

}  // namespace linux_platform::com

#endif
