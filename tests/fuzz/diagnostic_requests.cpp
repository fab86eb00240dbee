// SPDX-License-Identifier: Apache-2.0
// What goes to and comes from the two data identifier services, behind a byte that chooses the wire format and one that
// chooses the value: the arguments of both, the result of either.
#include "halden/services/diag/d_17f0/dataidentifier_flashwatchreport.h"
#include "halden/services/diag/d_17f2/dataidentifier_emmcbudgetexceedance.h"
#include "halden/services/diag/meta_info.h"
#include "tests/fuzz/wire_value.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  namespace diag = halden::services::diag;
  fuzz::Input input(data, size);
  auto const format = fuzz::wire_format(input.u8());
  unsigned const value = input.u8() % 3;
  auto const payload = input.rest();
  if (value == 0) {
    fuzz::check_wire_value(payload, format, diag::read_meta_info, diag::write_meta_info);
  } else if (value == 1) {
    fuzz::check_wire_value(
        payload, format, [](auto& in) { return diag::d_17f0::read_read_output(in); },
        [](auto& out, auto const& output) { diag::d_17f0::write_read_output(out, output); });
  } else {
    fuzz::check_wire_value(
        payload, format, [](auto& in) { return diag::d_17f2::read_read_output(in); },
        [](auto& out, auto const& output) { diag::d_17f2::write_read_output(out, output); });
  }
  return 0;
}
