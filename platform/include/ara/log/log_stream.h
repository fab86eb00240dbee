// SPDX-License-Identifier: Apache-2.0
#ifndef ARA_LOG_LOG_STREAM_H
#define ARA_LOG_LOG_STREAM_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "ara/log/log_level.h"

namespace ara::log {

class Logger;

/// One log record under construction. Every insertion is one typed piece; the record is handed to the sinks as a
/// whole when the stream is destroyed or flushed. Texts go by their length, NUL included; an 8-bit integer is a number.
///
/// A record holds up to `capacity` bytes of encoded pieces and `piece_limit` pieces. A longer one is cut: a text at a
/// UTF-8 character boundary, a number or boolean as a whole; a mark stands at the cut and what follows is left out.
///
/// A stream whose level is not enabled costs one comparison an insertion: nothing is formatted or stored. A stream
/// belongs to the thread that made it; different threads may log to one logger at the same time. Nothing here
/// throws or blocks. Not for signal handlers.
class LogStream {
 public:
  /// Bytes of encoded pieces in one record: what one DLT message carries (each piece takes 4 bytes for its type and
  /// its value; a text takes 7 bytes and its own).
  static constexpr std::size_t capacity = 1390;
  /// Pieces in one record: the argument count of a DLT message has 8 bits.
  static constexpr std::size_t piece_limit = 255;

  /// `logger` outlives the stream. Null makes a stream that takes nothing.
  LogStream(Logger const* logger, LogLevel level) noexcept : logger_(logger), level_(level) {}
  ~LogStream() {
    if (logger_ != nullptr) {
      Flush();
    }
  }
  LogStream(LogStream const&) = delete;
  LogStream& operator=(LogStream const&) = delete;
  LogStream(LogStream&&) = delete;
  LogStream& operator=(LogStream&&) = delete;

  LogStream& operator<<(bool value) noexcept {
    if (logger_ != nullptr) {
      append_bool(value);
    }
    return *this;
  }

  /// Any integer type; its width and sign are kept.
  template <typename Integer, std::enable_if_t<std::is_integral_v<Integer> && !std::is_same_v<Integer, bool>, int> = 0>
  LogStream& operator<<(Integer value) noexcept {
    static_assert(sizeof(Integer) <= sizeof(std::uint64_t));
    if (logger_ != nullptr) {
      if constexpr (std::is_signed_v<Integer>) {
        append_signed(value, sizeof(Integer));
      } else {
        append_unsigned(value, sizeof(Integer));
      }
    }
    return *this;
  }

  LogStream& operator<<(float value) noexcept {
    if (logger_ != nullptr) {
      append_float(value);
    }
    return *this;
  }

  LogStream& operator<<(double value) noexcept {
    if (logger_ != nullptr) {
      append_double(value);
    }
    return *this;
  }

  LogStream& operator<<(std::string_view text) noexcept {
    if (logger_ != nullptr) {
      append_text(text);
    }
    return *this;
  }
  LogStream& operator<<(std::string const& text) noexcept {
    if (logger_ != nullptr) {
      append_text(text);
    }
    return *this;
  }
  /// A null pointer is logged as an empty text.
  LogStream& operator<<(char const* text) noexcept {
    if (logger_ != nullptr) {
      append_text(text == nullptr ? std::string_view() : std::string_view(text));
    }
    return *this;
  }
  /// Any other pointer would turn into a boolean.
  LogStream& operator<<(void const* pointer) = delete;

  /// Hands the pieces so far to the sinks as one record and starts an empty one. A record without pieces is not sent.
  void Flush() noexcept;

 private:
  void append_bool(bool value) noexcept;
  void append_signed(std::int64_t value, std::size_t width) noexcept;
  void append_unsigned(std::uint64_t value, std::size_t width) noexcept;
  void append_float(float value) noexcept;
  void append_double(double value) noexcept;
  void append_text(std::string_view text) noexcept;

  bool begin_piece(std::size_t size) noexcept;
  void append(void const* bytes, std::size_t size) noexcept;
  template <typename Value>
  void append_piece(std::uint32_t type, Value value) noexcept;
  void cut(std::string_view text) noexcept;

  Logger const* logger_;
  LogLevel level_;
  bool cut_ = false;
  std::uint8_t count_ = 0;
  std::uint16_t used_ = 0;
  // Where the mark would stand if the record had to be cut now: the end of the last piece that leaves room for it.
  std::uint16_t cut_at_ = 0;
  std::uint8_t count_before_cut_ = 0;
  // Uninitialised on purpose: only the first used_ bytes are ever read.
  char pieces_[capacity];  // NOLINT(modernize-avoid-c-arrays): an std::array member would be zeroed by {}
};

}  // namespace ara::log

#endif
