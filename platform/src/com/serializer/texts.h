// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_SERIALIZER_TEXTS_H
#define PLATFORM_SRC_COM_SERIALIZER_TEXTS_H

/// The texts of serialization errors: applications and their logs know them, so they never change.
namespace linux_platform::com::texts {

inline constexpr char const* beyond_end = "Read beyond the end of the data buffer";
inline constexpr char const* size_overflow = "Deserialization detected std::size_t overflow.";
inline constexpr char const* invalid_end = "Deserialization calculated invalid end position.";
inline constexpr char const* invalid_length_field = "Invalid value for length field size.";
inline constexpr char const* record_too_small =
    "Violation of [PRS_SOMEIP_00900]: Record length given by sender is too small. This is possibly due to a mismatch "
    "between the data models of sender and receiver.";
inline constexpr char const* record_smaller_than_expected =
    "Violation of [PRS_SOMEIP_00900]: Record length provided by sender is smaller than expected. This is possibly due "
    "to a mismatch between the data models of sender and receiver.";
inline constexpr char const* record_too_long = "Calculated record length does not fit into configured length field";
inline constexpr char const* vector_without_length =
    "Vectors must have a length field that deserializer can also deserialize it. Violation of PRS_SOMEIP_00376 & "
    "PRS_SOMEIP_00107!";
inline constexpr char const* string_without_bom = "String has no byte order mark or no terminating zero.";
inline constexpr char const* string_not_utf8 = "String is not valid UTF-8.";

}  // namespace linux_platform::com::texts

#endif
