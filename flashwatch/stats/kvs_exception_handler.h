// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_KVS_EXCEPTION_HANDLER_H
#define FLASHWATCH_STATS_KVS_EXCEPTION_HANDLER_H

#include <exception>

namespace orvel::flashwatch::diagnostics {

/// Logs a failure of the key-value storage as one warning that names its type. `error` holds an exception.
void handle_kvs_exception(std::exception_ptr const& error) noexcept;

}  // namespace orvel::flashwatch::diagnostics

#endif
