// SPDX-License-Identifier: Apache-2.0
// What goes to and comes from the services, behind a byte that chooses the wire format and one that chooses the value:
// the arguments, the result and the error of either data identifier, or the answer to get_KVS_statistics.
#include <optional>
#include <stdexcept>

#include "halden/services/diag/d_17f0/dataidentifier_flashwatchreport.h"
#include "halden/services/diag/d_17f2/dataidentifier_emmcbudgetexceedance.h"
#include "halden/services/diag/meta_info.h"
#include "orvel/persistency/statistics.h"
#include "tests/fuzz/fuzz.h"

namespace {

using fuzz::Bytes;
using fuzz::require;
using tarn::com::cpp_binding::Deserializer;
using tarn::com::cpp_binding::Serializer;
using tarn::com::cpp_binding::Wire_format;

/// A wire format from one byte: a bit for the encoding of texts, two each for the sizes of the length fields.
Wire_format wire_format(unsigned choice) {
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

/// The payload of an error answer.
template <typename Failure>
void check_failure(Bytes const& payload) {
  try {
    Failure const failure(payload);
    Bytes written;
    failure.serialize(written);
    require(Failure(written).response_code() == failure.response_code(), "an error survives the wire");
  } catch (std::out_of_range const&) {
  }
}

}  // namespace

void fuzz::check(Input input) {
  namespace diag = halden::services::diag;
  namespace per = orvel::persistency;
  auto const format = wire_format(input.u8());
  unsigned const value = input.u8() % 5;
  auto const payload = input.rest();
  if (value == 0) {
    check_wire_value(payload, format, diag::read_meta_info, diag::write_meta_info);
  } else if (value == 1) {
    check_wire_value(payload, format, diag::d_17f0::read_read_output, diag::d_17f0::write_read_output);
  } else if (value == 2) {
    check_wire_value(payload, format, diag::d_17f2::read_read_output, diag::d_17f2::write_read_output);
  } else if (value == 3) {
    check_wire_value(payload, format, per::read_kvs_statistics, per::write_kvs_statistics);
  } else {
    check_failure<diag::d_17f0::DataIdentifier_FlashwatchReport::UDSServiceFailed>(payload);
    check_failure<diag::d_17f2::DataIdentifier_EMMCBudgetExceedance::UDSServiceFailed>(payload);
  }
}
