// SPDX-License-Identifier: Apache-2.0
#ifndef ORVEL_COM_RUNTIME_INSTANCE_ID_H
#define ORVEL_COM_RUNTIME_INSTANCE_ID_H

#include <string>

namespace orvel::com::runtime {

/// Which instance of a service is meant: the name that the machine manifest gives an instance, or its number (decimal,
/// 1 to 65534).
class Instance_id {
 public:
  /// tarn::com::Invalid_argument_exception, naming the text, when it is neither a number in the range nor the name of
  /// any instance in the manifest of the running communication runtime; the refusal is logged first.
  explicit Instance_id(std::string text);

  std::string const& text() const noexcept { return text_; }

 private:
  std::string text_;
};

}  // namespace orvel::com::runtime

#endif
