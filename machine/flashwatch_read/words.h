// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_WORDS_H
#define MACHINE_FLASHWATCH_READ_WORDS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace flashwatch_read {

// Codes of the protocols, each as its number and in words: "0x22, conditions not correct (...)".

/// ISO 14229-1, negative response codes, with what they mean for the two identifiers.
std::string negative_response_words(std::uint8_t code);
/// ISO 13400-2, routing activation response codes.
std::string activation_words(std::uint8_t code);
/// ISO 13400-2, diagnostic message negative acknowledge codes.
std::string diagnostic_nack_words(std::uint8_t code);
/// ISO 13400-2, generic header negative acknowledge codes.
std::string header_nack_words(std::uint8_t code);

/// "0x" and at least `digits` hexadecimal digits.
std::string hex_text(std::uint32_t value, unsigned digits);
/// "5 s" or "250 ms".
std::string limit_text(std::chrono::milliseconds limit);

}  // namespace flashwatch_read

#endif
