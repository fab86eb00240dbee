// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_SETTINGS_NAMES_H
#define MACHINE_DIAGNOSTIC_MANAGER_SETTINGS_NAMES_H

#include <array>
#include <cstdint>
#include <string>

#include "machine/diagnostic_manager/connections/activation_policy.h"
#include "machine/diagnostic_manager/doip/messages.h"
#include "platform/src/manifest/node.h"

/// The manifest's texts that stand for something else. Each throws linux_platform::manifest::Manifest_error.
namespace machine::diagnostic_manager {

/// 17 capital letters and digits.
std::array<std::uint8_t, 17> read_vin(linux_platform::manifest::Node const& node);
/// Six bytes in hexadecimal with colons between them, as 02:00:00:00:00:01.
std::array<std::uint8_t, 6> read_six_bytes(linux_platform::manifest::Node const& node);
/// ready, not_ready or not_supported.
doip::Power_mode read_power_mode(linux_platform::manifest::Node const& node);
/// open, authentication, tls, rejected or confirmation.
connections::Activation_policy read_activation_policy(linux_platform::manifest::Node const& node);
/// A member's name that is a number from 0 to 255; `node` is the member, for the complaint.
std::uint8_t read_activation_type(std::string const& name, linux_platform::manifest::Node const& node);

}  // namespace machine::diagnostic_manager

#endif
