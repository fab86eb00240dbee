// SPDX-License-Identifier: Apache-2.0
#include "ara/log/log_stream.h"

#include <algorithm>
#include <cstring>

#include "ara/log/logger.h"
#include "platform/src/log/log_core.h"
#include "platform/src/log/piece.h"
#include "platform/src/log/utf8.h"

namespace ara::log {

namespace {

namespace type_info = linux_platform::log::type_info;
using linux_platform::log::text_overhead;

constexpr std::string_view cut_mark = "[cut]";
constexpr std::size_t cut_piece_size = text_overhead + cut_mark.size();
constexpr std::size_t text_header_size = sizeof(std::uint32_t) + sizeof(std::uint16_t);
static_assert(LogStream::capacity <= UINT16_MAX);

std::uint32_t size_code(std::size_t width) noexcept {
  switch (width) {
    case 1:
      return type_info::size_8;
    case 2:
      return type_info::size_16;
    case 4:
      return type_info::size_32;
    default:
      return type_info::size_64;
  }
}

}  // namespace

void LogStream::Flush() noexcept {
  if (logger_ == nullptr) {
    return;
  }
  if (count_ > 0 && logger_->context_ != nullptr) {
    linux_platform::log::Log_core::instance().deliver(*logger_->context_, level_, {pieces_, used_}, count_);
  }
  cut_ = false;
  count_ = 0;
  used_ = 0;
  cut_at_ = 0;
  count_before_cut_ = 0;
}

// Counts a piece of `size` bytes if it goes in whole.
bool LogStream::begin_piece(std::size_t size) noexcept {
  if (cut_ || count_ == piece_limit) {
    return false;
  }
  if (used_ + cut_piece_size <= capacity) {
    cut_at_ = used_;
    count_before_cut_ = count_;
  }
  if (size > capacity - used_) {
    return false;
  }
  ++count_;
  return true;
}

void LogStream::append(void const* bytes, std::size_t size) noexcept {
  if (size > 0) {
    std::memcpy(pieces_ + used_, bytes, size);
  }
  used_ = static_cast<std::uint16_t>(used_ + size);
}

template <typename Value>
void LogStream::append_piece(std::uint32_t type, Value value) noexcept {
  if (begin_piece(sizeof type + sizeof value)) {
    append(&type, sizeof type);
    append(&value, sizeof value);
  } else {
    cut({});
  }
}

void LogStream::append_bool(bool value) noexcept {
  append_piece(type_info::boolean, static_cast<std::uint8_t>(value ? 1 : 0));
}

void LogStream::append_signed(std::int64_t value, std::size_t width) noexcept {
  auto const type = type_info::signed_integer | size_code(width);
  switch (width) {
    case 1:
      return append_piece(type, static_cast<std::int8_t>(value));
    case 2:
      return append_piece(type, static_cast<std::int16_t>(value));
    case 4:
      return append_piece(type, static_cast<std::int32_t>(value));
    default:
      return append_piece(type, value);
  }
}

void LogStream::append_unsigned(std::uint64_t value, std::size_t width) noexcept {
  auto const type = type_info::unsigned_integer | size_code(width);
  switch (width) {
    case 1:
      return append_piece(type, static_cast<std::uint8_t>(value));
    case 2:
      return append_piece(type, static_cast<std::uint16_t>(value));
    case 4:
      return append_piece(type, static_cast<std::uint32_t>(value));
    default:
      return append_piece(type, value);
  }
}

void LogStream::append_float(float value) noexcept {
  append_piece(type_info::floating_point | type_info::size_32, value);
}

void LogStream::append_double(double value) noexcept {
  append_piece(type_info::floating_point | type_info::size_64, value);
}

void LogStream::append_text(std::string_view text) noexcept {
  if (!begin_piece(text_overhead + std::min(text.size(), capacity))) {
    return cut(text);
  }
  std::uint32_t const type = type_info::utf8_text;
  auto const length = static_cast<std::uint16_t>(text.size() + 1);
  append(&type, sizeof type);
  append(&length, sizeof length);
  append(text.data(), text.size());
  append("", 1);
}

// Ends the record with the mark, after as much of `text`, the piece that did not fit, as there is room for. When there
// is none for the mark alone, the last pieces give way to it.
void LogStream::cut(std::string_view text) noexcept {
  if (cut_) {
    return;
  }
  cut_ = true;
  if (used_ != cut_at_) {
    linux_platform::log::Piece_reader displaced({pieces_ + cut_at_, static_cast<std::size_t>(used_ - cut_at_)});
    auto const piece = displaced.next();
    auto const* displaced_text = piece ? std::get_if<std::string_view>(&*piece) : nullptr;
    text = displaced_text == nullptr ? std::string_view() : *displaced_text;
  }
  used_ = cut_at_;
  count_ = static_cast<std::uint8_t>(count_before_cut_ + 1);
  auto const room = capacity - used_ - cut_piece_size;
  auto const kept = linux_platform::log::utf8_cut_length(text, std::min(text.size(), room));
  // The text may be the one that stands here already.
  if (kept > 0) {
    std::memmove(pieces_ + used_ + text_header_size, text.data(), kept);
  }
  std::uint32_t const type = type_info::utf8_text;
  auto const length = static_cast<std::uint16_t>(kept + cut_mark.size() + 1);
  append(&type, sizeof type);
  append(&length, sizeof length);
  used_ = static_cast<std::uint16_t>(used_ + kept);
  append(cut_mark.data(), cut_mark.size());
  append("", 1);
}

}  // namespace ara::log
