// SPDX-License-Identifier: Apache-2.0
// The answer to get_KVS_statistics, behind a byte that chooses the wire format.
#include "orvel/persistency/statistics.h"
#include "tests/fuzz/wire_value.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  fuzz::Input input(data, size);
  auto const format = fuzz::wire_format(input.u8());
  fuzz::check_wire_value(input.rest(), format, orvel::persistency::read_kvs_statistics,
                         orvel::persistency::write_kvs_statistics);
  return 0;
}
