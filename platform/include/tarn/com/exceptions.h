// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_COM_EXCEPTIONS_H
#define TARN_COM_EXCEPTIONS_H

#include <cstdint>
#include <exception>
#include <string>
#include <utility>

namespace tarn::com {

/// A method call that broke on its way: the connection was lost, the response was malformed or refused, or none came in
/// time.
class Transport_exception : public std::exception {
 public:
  Transport_exception(std::uint8_t error_code, std::string text) : text_(std::move(text)), error_code_(error_code) {}

  char const* what() const noexcept override { return text_.c_str(); }
  /// The SOME/IP return code that fits the failure best, never 0: 0x01 to 0x1F, or whatever else the peer has sent.
  std::uint8_t error_code() const noexcept { return error_code_; }

 private:
  std::string text_;
  std::uint8_t error_code_;
};

/// A method call to a service that is not offered.
class Service_not_available_exception : public std::exception {
 public:
  explicit Service_not_available_exception(std::string text) : text_(std::move(text)) {}

  char const* what() const noexcept override { return text_.c_str(); }

 private:
  std::string text_;
};

/// An argument that the communication cannot work with, such as an instance identifier that nobody deployed.
class Invalid_argument_exception : public std::exception {
 public:
  explicit Invalid_argument_exception(std::string text) : text_(std::move(text)) {}

  char const* what() const noexcept override { return text_.c_str(); }

 private:
  std::string text_;
};

}  // namespace tarn::com

#endif
