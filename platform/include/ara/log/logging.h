// SPDX-License-Identifier: Apache-2.0
#ifndef ARA_LOG_LOGGING_H
#define ARA_LOG_LOGGING_H

#include <string>

#include "ara/log/log_level.h"
#include "ara/log/log_stream.h"
#include "ara/log/logger.h"

namespace ara::log {

/// Registers the process with the log and opens its sinks. Called once, from the main thread, before any thread is
/// started; records written before it are not lost but follow once it returns, up to a fixed number.
///
/// `application_id` is one to four visible ASCII characters; another one is mended, with one line on standard error, as
/// is a context id. `mode` is kRemote (DLT), kConsole (standard output) or both;
/// kFile is not available on this platform: it is refused with one line on standard error and the other modes are
/// used. `directory_path` belongs to kFile and is ignored.
///
/// At exit what DLT has not taken yet is delivered, as long as its daemon takes it; without one the process just ends.
/// Destructors of objects that were static before this call run later: their records reach the console only.
///
/// Never blocks on an absent log daemon or a full console. A second call is refused with one line on standard error.
/// Threads that the log library starts block all signals.
void InitLogging(std::string application_id, std::string application_description, LogLevel default_level, LogMode mode,
                 std::string directory_path);

/// The logger of the context `context_id` (one to four ASCII characters), made on first use with the default level of
/// InitLogging. The same id gives the same logger. May be called from any thread, before InitLogging too.
Logger& CreateLogger(std::string context_id, std::string context_description);

/// The logger of the process's default context, used by the functions below.
Logger& DefaultLogger() noexcept;

inline LogStream LogFatal() noexcept { return DefaultLogger().LogFatal(); }
inline LogStream LogError() noexcept { return DefaultLogger().LogError(); }
inline LogStream LogWarn() noexcept { return DefaultLogger().LogWarn(); }
inline LogStream LogInfo() noexcept { return DefaultLogger().LogInfo(); }
inline LogStream LogDebug() noexcept { return DefaultLogger().LogDebug(); }
inline LogStream LogVerbose() noexcept { return DefaultLogger().LogVerbose(); }

}  // namespace ara::log

#endif
