// SPDX-License-Identifier: Apache-2.0
// Limits stop at 2^64 - 1, each by itself, with a warning that names its operands.
#include "flashwatch/stats/limits.h"

#include <gmock/gmock.h>

#include "tests/scripted_platform/script.h"

namespace orvel::flashwatch::diagnostics {
namespace {

using ::testing::ElementsAre;
using U64 = std::uint64_t;

constexpr U64 top = ~U64{0};
constexpr U64 half = U64{1} << 63U;

TEST(Limits, AddUpToTheTop) {
  script::reset();
  Limits const sum = Limits{top - 5, 1} + Limits{5, 2};
  EXPECT_EQ(sum.soft, top);
  EXPECT_EQ(sum.hard, 3);
  EXPECT_THAT(script::log(), ElementsAre());

  Limits left{top, half};
  Limits const& result = (left += {1, half});
  EXPECT_EQ(&result, &left);
  EXPECT_EQ(left.soft, top);
  EXPECT_EQ(left.hard, top);
  EXPECT_THAT(script::log(), ElementsAre(script::warning("Max limit exceedance with values:", top, "and", U64{1}),
                                         script::warning("Max limit exceedance with values:", half, "and", half)));
}

TEST(Limits, ScaleUpToTheTop) {
  script::reset();
  Limits const scaled = Limits{half, 1} * 2;
  EXPECT_EQ(scaled.soft, top);
  EXPECT_EQ(scaled.hard, 2);
  EXPECT_THAT(script::log(),
              ElementsAre(script::warning("Max limit exceedance with value:", half, "and factor", U64{2})));
  Limits const zero = Limits{0, 3} * top;
  EXPECT_EQ(zero.soft, 0);
  EXPECT_EQ(zero.hard, top);
}

}  // namespace
}  // namespace orvel::flashwatch::diagnostics
