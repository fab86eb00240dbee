// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_COM_RUNTIME_COMPONENT_SINGLETON_H
#define TARN_COM_RUNTIME_COMPONENT_SINGLETON_H

#include <string>

namespace tarn::com::runtime {

/// The communication runtime of this process: its sockets, its service discovery and its threads live as long as this
/// object. Made once, on the main thread, before any proxy, skeleton or instance identifier; destroyed after all of
/// them.
class Component_singleton {
 public:
  /// Reads the process's part of the machine manifest and takes its address on the network. The two arguments select
  /// nothing on this platform; pass false and an empty text.
  ///
  /// std::runtime_error (one line: the file, the member and what is wrong; or the address and port that cannot be
  /// taken) when the manifest is missing or wrong or the network refuses; std::logic_error when a runtime is running
  /// already. Every thread it starts blocks all signals.
  Component_singleton(bool reserved_flag, std::string const& reserved_text);

  /// Withdraws what is still offered, fails the requests still outstanding with Transport_exception and ends the
  /// threads. Waits for methods that are still running.
  ~Component_singleton();

  Component_singleton(Component_singleton const&) = delete;
  Component_singleton& operator=(Component_singleton const&) = delete;
};

}  // namespace tarn::com::runtime

#endif
