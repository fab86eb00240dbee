// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_COM_CPP_BINDING_WIRE_FORMAT_H
#define TARN_COM_CPP_BINDING_WIRE_FORMAT_H

#include <cstddef>
#include <cstdint>

namespace tarn::com::cpp_binding {

enum class String_encoding : std::uint8_t {
  utf8_bom,  ///< byte order mark EF BB BF, the characters in UTF-8, one zero byte
  plain,     ///< the characters in UTF-8 alone
};

/// What a service's deployment leaves open about SOME/IP serialization; both ends must agree on it. The sizes of length
/// fields are in bytes: 1, 2 or 4. 0 means no length field, which only records can do without.
struct Wire_format {
  String_encoding strings = String_encoding::utf8_bom;
  std::size_t string_length_bytes = 4;
  std::size_t array_length_bytes = 4;  ///< of vectors and maps
  std::size_t record_length_bytes = 4;
};

}  // namespace tarn::com::cpp_binding

#endif
