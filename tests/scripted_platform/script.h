// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_SCRIPTED_PLATFORM_SCRIPT_H
#define TESTS_SCRIPTED_PLATFORM_SCRIPT_H

#include <cstdint>
#include <exception>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "ara/exec/application_client.h"
#include "ara/log/log_level.h"
#include "ara/per/kvs_type.h"
#include "tarn/com/cpp_binding/service_handle.h"

/// What a test says to the scripted platform, and what it reads back. Usable from any thread.
namespace script {

/// Forgets everything and goes back to a platform on which all goes well.
void reset();

/// Every call on the platform and every log record, in order: "per.HasKey(nav)", or a record as log_line() writes it.
std::vector<std::string> journal();
/// The records alone, with the journal's order kept.
std::vector<std::string> log();

/// Runs at each call of that name ("per.HasKey", "posix.sleep"), after it was noted; may throw.
void on(std::string const& call, std::function<void()> action);

/// For the platform itself, and for whatever a test wants to see in the order of things.
void note(std::string entry);
void call(std::string const& name, std::string const& arguments);

/// What the platform's calls return.
struct Answers {
  ara::exec::ApplicationReturnType state_report = ara::exec::ApplicationReturnType::kSuccess;
  std::uint8_t supervision_status = 0;
  unsigned unslept_seconds = 0;
  std::map<std::string, ara::per::KvsType> stored;              ///< the content of the key-value storage
  std::vector<tarn::com::cpp_binding::Service_handle> offered;  ///< what every search finds
  std::vector<std::uint8_t> reply;                              ///< the payload that answers every request
  std::exception_ptr reply_failure;                             ///< instead of the reply, when set
};
Answers& answers();

/// Calls a method of an offered service, as a peer without meta information does: the reply's payload, or the
/// exception.
std::vector<std::uint8_t> request(std::string const& interface, std::uint16_t id);

/// One piece with its type: "text", i64:-1, u8:3, bool:1.
template <typename T>
std::string piece(T const& value) {
  if constexpr (std::is_convertible_v<T, std::string_view>) {
    return '"' + std::string(std::string_view(value)) + '"';
  } else if constexpr (std::is_same_v<T, bool>) {
    return value ? "bool:1" : "bool:0";
  } else {
    static_assert(std::is_integral_v<T>);
    return (std::is_signed_v<T> ? 'i' : 'u') + std::to_string(8 * sizeof(T)) + ':' + std::to_string(value);
  }
}

template <typename... Pieces>
std::string log_line(std::string const& context, ara::log::LogLevel level, Pieces const&... pieces) {
  std::string line = "log " + context + " " + std::to_string(static_cast<int>(level));
  ((line += " " + piece(pieces)), ...);
  return line;
}

// Records of the default context.
template <typename... Pieces>
std::string debug(Pieces const&... pieces) {
  return log_line("", ara::log::LogLevel::kDebug, pieces...);
}
template <typename... Pieces>
std::string warning(Pieces const&... pieces) {
  return log_line("", ara::log::LogLevel::kWarn, pieces...);
}
template <typename... Pieces>
std::string error(Pieces const&... pieces) {
  return log_line("", ara::log::LogLevel::kError, pieces...);
}

}  // namespace script

#endif
