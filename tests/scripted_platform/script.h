// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_SCRIPTED_PLATFORM_SCRIPT_H
#define TESTS_SCRIPTED_PLATFORM_SCRIPT_H

#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "ara/exec/application_client.h"
#include "ara/per/kvs_type.h"
#include "tarn/com/cpp_binding/service_handle.h"

/// What a test says to the scripted platform, and what it reads back. Usable from any thread.
namespace script {

/// Forgets everything and goes back to a platform on which all goes well.
void reset();

/// Those calls on the platform and log records in which `pattern` is found, in order, each followed by a line feed:
///   per.HasKey(nav)
///   debug 'a text' u8:3 i64:-1
///   info DATA 'a record of the context DATA'
std::string journal(std::string const& pattern = "");

/// Runs at each call of that name ("per.HasKey", "posix.sleep"), after it was noted; may throw.
void on(std::string const& call, std::function<void()> action);

/// For the platform itself, and for whatever a test wants to see in the order of things.
void note(std::string entry);
void call(std::string const& name, std::string const& arguments = "");

/// What the platform's calls return.
struct Answers {
  ara::exec::ApplicationReturnType state_report = ara::exec::ApplicationReturnType::kSuccess;
  std::uint8_t supervision_status = 0;
  std::time_t now = 1800000000;
  unsigned unslept_seconds = 0;
  int refused_signal = 0;                                       ///< the one that cannot be handled
  std::map<int, void (*)(int)> signal_handlers;                 ///< those that the service has set
  std::map<std::string, ara::per::KvsType> stored;              ///< the content of the key-value storage
  std::vector<tarn::com::cpp_binding::Service_handle> offered;  ///< what every search finds
  std::vector<std::uint8_t> reply;                              ///< the payload that answers every request
};
Answers& answers();

/// Calls a method of an offered service, as a peer without meta information does: the reply's payload, or the
/// exception.
std::vector<std::uint8_t> request(std::string const& interface, std::uint16_t id);

}  // namespace script

#endif
