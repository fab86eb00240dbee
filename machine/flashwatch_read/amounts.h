// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_AMOUNTS_H
#define MACHINE_FLASHWATCH_READ_AMOUNTS_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace flashwatch_read {

enum class Amount_style {
  units,       ///< three digits and a binary unit: "1.23 MiB"
  exact_bytes  ///< every digit: "1289748"
};

/// What is left of a budget: any difference of two unsigned 64-bit counters, which needs 65 bits.
struct Remainder {
  bool over = false;  ///< more was written than allowed; `bytes` is by how much
  std::uint64_t bytes = 0;
};

Remainder remainder_of(std::uint64_t limit, std::uint64_t written) noexcept;

/// Rounded towards zero, so nothing looks larger than it is.
std::string amount_text(std::uint64_t bytes, Amount_style style);
/// As amount_text, with a minus sign when over.
std::string remainder_text(Remainder const& remainder, Amount_style style);

/// The share of `limit` that is used. Within the limit it is rounded down ("<1%" when something was written), beyond
/// it upwards, so that "100%" is never over and anything over shows more than 100%. "-" without a limit.
std::string share_text(std::uint64_t limit, std::uint64_t written);
/// How many of `cells` a bar of that share fills; all of them when over, also over a limit of 0.
std::size_t share_cells(std::uint64_t limit, std::uint64_t written, std::size_t cells) noexcept;
/// Whether at least `percent` of the limit is used; false without a limit.
bool share_reaches(std::uint64_t limit, std::uint64_t written, unsigned percent) noexcept;

/// The two largest units of a time: "59 s", "5 m 07 s", "3 h 20 m", "12 d 04 h", "7 years", ">100 years".
std::string duration_text(std::uint64_t seconds);

}  // namespace flashwatch_read

#endif
