// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_CONFIG_CONFIG_READER_IF_H
#define FLASHWATCH_CONFIG_CONFIG_READER_IF_H

#include "flashwatch/config/instance_id_provider_if.h"
#include "flashwatch/config/log_period_provider_if.h"

namespace orvel::flashwatch::diagnostics {

/// What the assembly asks of the configuration. The getters do no input or output and may be called from any thread.
class Config_reader_if : public Log_period_provider_if, public Instance_id_provider_if {};

}  // namespace orvel::flashwatch::diagnostics

#endif
