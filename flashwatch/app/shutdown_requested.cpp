// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/app/shutdown_requested.h"

namespace orvel::flashwatch {

static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may store to it");

std::atomic<bool> shutdown_requested{false};

void request_shutdown(int /*signal*/) noexcept { shutdown_requested.store(true, std::memory_order_release); }

}  // namespace orvel::flashwatch
