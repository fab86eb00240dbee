// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_FLASHWATCH_ROOM_TEST_H
#define TESTS_FLASHWATCH_ROOM_TEST_H

#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {

using namespace ::script;
using namespace ::testing;
using I64 = std::int64_t;
using U64 = std::uint64_t;
using U32 = std::uint32_t;
using U8 = std::uint8_t;
using Bytes = std::vector<U8>;

/// Begins on a scripted platform on which nothing has happened and all goes well.
struct Room_test : Test {
  Room_test() { script::reset(); }
};

}  // namespace orvel::flashwatch::diagnostics

#endif
