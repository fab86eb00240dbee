// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_CONFIG_APPLICATION_SCID_CONVERTER_IF_H
#define FLASHWATCH_CONFIG_APPLICATION_SCID_CONVERTER_IF_H

#include <cstdint>
#include <string>

namespace orvel::flashwatch::diagnostics {

/// From an application's name to the number that the diagnostic report knows it by.
class Application_scid_converter_if {
 public:
  virtual ~Application_scid_converter_if() = default;
  Application_scid_converter_if(Application_scid_converter_if const&) = delete;
  Application_scid_converter_if& operator=(Application_scid_converter_if const&) = delete;

  /// The SCID of `app_name`, or 0 and a warning when it has none. May be called from any thread.
  virtual std::uint64_t get_scid(std::string const& app_name) const = 0;

 protected:
  Application_scid_converter_if() = default;
};

}  // namespace orvel::flashwatch::diagnostics

#endif
