// SPDX-License-Identifier: Apache-2.0
#include "ara/log/logger.h"

#include <utility>

namespace ara::log {

Logger::Logger(std::string context_id, std::string context_description, LogLevel level)
    : context_id_(std::move(context_id)), context_description_(std::move(context_description)), level_(level) {}

Logger::~Logger() = default;

}  // namespace ara::log
