// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_COM_CPP_BINDING_SERVICE_HANDLE_H
#define TARN_COM_CPP_BINDING_SERVICE_HANDLE_H

#include <cstdint>

namespace tarn::com::cpp_binding {

/// One instance of a service that a search has found. A proxy is made from it.
struct Service_handle {
  std::uint16_t instance;  ///< 1 to 65534
};

constexpr bool operator==(Service_handle left, Service_handle right) noexcept {
  return left.instance == right.instance;
}

}  // namespace tarn::com::cpp_binding

#endif
