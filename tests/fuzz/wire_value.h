// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_FUZZ_WIRE_VALUE_H
#define TESTS_FUZZ_WIRE_VALUE_H

#include <optional>
#include <stdexcept>

#include "tarn/com/cpp_binding/deserializer.h"
#include "tarn/com/cpp_binding/serializer.h"
#include "tests/fuzz/fuzz.h"

namespace fuzz {

using tarn::com::cpp_binding::Deserializer;
using tarn::com::cpp_binding::Serializer;
using tarn::com::cpp_binding::Wire_format;

/// A wire format from one byte: a bit for the encoding of texts, two each for the sizes of the length fields.
inline Wire_format wire_format(unsigned choice) {
  constexpr std::size_t sizes[] = {4, 2, 1, 0};
  auto const size = [&](unsigned shift) { return sizes[(choice >> shift) & 3U]; };
  auto const strings = (choice & 1U) == 0 ? Wire_format{}.strings : tarn::com::cpp_binding::String_encoding::plain;
  return {strings, size(1), size(3), size(5)};
}

/// What `read` makes of the payload, written again; nothing when it refuses the payload.
template <typename Read, typename Write>
std::optional<Bytes> rewritten(Bytes const& payload, Wire_format const& format, Read const& read, Write const& write) {
  Deserializer in(payload.data(), payload.size(), format);
  try {
    auto const value = read(in);
    require(!in.failed(), "what succeeds has not failed");
    Bytes out;
    Serializer writer(out, format);
    write(writer, value);
    return out;
  } catch (std::out_of_range const&) {
  } catch (std::overflow_error const&) {
  } catch (std::invalid_argument const&) {
  }
  require(in.failed(), "a payload that is refused is known to be");
  return std::nullopt;
}

/// Reading and writing are each other's inverse, whatever follows the value, and nothing grows beyond the payload.
template <typename Read, typename Write>
void check_wire_value(Bytes payload, Wire_format const& format, Read const& read, Write const& write) {
  auto const once = rewritten(payload, format, read, write);
  if (!once) {
    return;
  }
  require(once->size() <= payload.size(), "a value takes no more bytes than it came in");
  payload.push_back(0xFF);
  require(rewritten(payload, format, read, write) == once, "bytes behind a value are not looked at");
  // A plain text loses a mark or a terminator that it should not have had, and what was behind it may look like one.
  bool const exact = format.strings == Wire_format{}.strings;
  require(!exact || rewritten(*once, format, read, write) == once, "what was written reads as what it was");
}

}  // namespace fuzz

#endif
