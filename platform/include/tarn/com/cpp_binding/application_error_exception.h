// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_COM_CPP_BINDING_APPLICATION_ERROR_EXCEPTION_H
#define TARN_COM_CPP_BINDING_APPLICATION_ERROR_EXCEPTION_H

#include <cstdint>
#include <exception>
#include <vector>

namespace tarn::com::cpp_binding {

/// An error that an interface declares for its methods. A method fails with it by completing its future with it; it
/// travels to the caller and completes the future there.
class Application_error_exception : public std::exception {
 public:
  ~Application_error_exception() override = default;

  char const* what() const noexcept override = 0;

  /// The number of the error within its interface, 1 to 63.
  virtual std::uint8_t error_code() const noexcept = 0;

  /// Appends the error's wire form to `out`.
  virtual void serialize(std::vector<std::uint8_t>& out) const = 0;

 protected:
  Application_error_exception() = default;
  Application_error_exception(Application_error_exception const&) = default;
  Application_error_exception& operator=(Application_error_exception const&) = default;
};

}  // namespace tarn::com::cpp_binding

#endif
