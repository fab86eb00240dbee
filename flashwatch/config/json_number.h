// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_CONFIG_JSON_NUMBER_H
#define FLASHWATCH_CONFIG_JSON_NUMBER_H

#include <cstdint>

#include <nlohmann/json_fwd.hpp>

namespace orvel::flashwatch::diagnostics {

// JSON numbers as 64-bit integers. The JSON library's own conversion leaves a floating-point number outside the
// integer's range undefined; here every number has a value. What is not a number, a boolean included, throws the
// library's type error.

/// An unsigned number above the signed range wraps modulo 2^64; a floating-point number is truncated toward zero, or
/// becomes the nearer end of the range when it lies outside.
std::int64_t to_signed(nlohmann::json const& value);

/// A negative integer wraps modulo 2^64; a floating-point number is truncated toward zero, or becomes the nearer end of
/// the range when it lies outside.
std::uint64_t to_unsigned(nlohmann::json const& value);

}  // namespace orvel::flashwatch::diagnostics

#endif
