// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/binding/instance_number.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "platform/src/com/runtime/comm_log.h"
#include "tarn/com/exceptions.h"

namespace linux_platform::com {
namespace {

constexpr std::uint16_t max_instance = 0xFFFE;

// Decimal digits and nothing else.
std::optional<std::uint16_t> as_number(std::string const& text) {
  std::uint16_t number = 0;
  auto const* const end = text.data() + text.size();
  auto const result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end || number == 0 || number > max_instance) {
    return {};
  }
  return number;
}

[[noreturn]] void refuse(std::string const& text, std::string const& why) {
  std::string const what = "instance identifier \"" + text + "\" refused: " + why;
  comm_log().LogError() << what;
  throw tarn::com::Invalid_argument_exception(what);
}

[[noreturn]] void refuse_for(std::string const& text, Service_deployment const& service) {
  refuse(text, "the machine manifest deploys no such instance of " + service.interface);
}

}  // namespace

void require_instance_identifier(std::string const& text, Settings const& settings) {
  bool const named = std::any_of(settings.services.begin(), settings.services.end(),
                                 [&](auto const& service) { return service.second->instances.count(text) != 0; });
  if (!named && !as_number(text)) {
    refuse(text, "neither a number from 1 to 65534 nor the name of an instance in the machine manifest");
  }
}

std::uint16_t instance_number(std::string const& text, Service_deployment const& service) {
  auto const named = service.instances.find(text);
  if (named != service.instances.end()) {
    return named->second.id;
  }
  if (auto const number = as_number(text)) {
    return *number;
  }
  refuse_for(text, service);
}

Service_deployment::Instance deployed_instance(std::string const& text, Service_deployment const& service) {
  std::uint16_t const number = instance_number(text, service);
  for (auto const& [name, instance] : service.instances) {
    if (instance.id == number) {
      return instance;
    }
  }
  refuse_for(text, service);
}

}  // namespace linux_platform::com
