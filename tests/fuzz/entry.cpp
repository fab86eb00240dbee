// SPDX-License-Identifier: Apache-2.0
// What the fuzzer calls.
#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  fuzz::check({data, size});
  return 0;
}
