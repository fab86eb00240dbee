// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/connection/frame_buffer.h"

#include <algorithm>
#include <iterator>

namespace linux_platform::com {
namespace {

constexpr std::size_t initial_size = 16UL * 1024;

}  // namespace

Frame_buffer::Room Frame_buffer::room() {
  if (begin_ == end_) {
    begin_ = 0;
    end_ = 0;
    if (bytes_.empty() || bytes_.size() > kept_size_) {
      bytes_ = std::vector<std::uint8_t>(initial_size);
    }
  } else if (begin_ > 0) {
    auto const start = bytes_.begin() + static_cast<std::ptrdiff_t>(begin_);
    std::copy(start, bytes_.begin() + static_cast<std::ptrdiff_t>(end_), bytes_.begin());
    end_ -= begin_;
    begin_ = 0;
  }
  if (end_ == bytes_.size()) {
    // A message that fills the buffer is within the limit, or it would have been called broken.
    bytes_.resize(std::max(end_ + 1, std::min(2 * end_, limit_)));
  }
  return {bytes_.data() + end_, bytes_.size() - end_};
}

// What stands at the beginning; for a message its size.
Frame_buffer::Result Frame_buffer::look(std::size_t& size) const noexcept {
  if (available() < Header::counted_from) {
    return Result::need_more;
  }
  std::uint32_t const length = read_length(bytes_.data() + begin_);
  if (length < Header::size - Header::counted_from || length > limit_ - Header::counted_from) {
    return Result::broken;
  }
  size = Header::counted_from + length;
  return available() < size ? Result::need_more : Result::message;
}

bool Frame_buffer::has_message() const noexcept {
  std::size_t size = 0;
  return look(size) != Result::need_more;
}

Frame_buffer::Result Frame_buffer::next(Message_view& message) {
  for (;;) {
    std::size_t size = 0;
    Result const result = look(size);
    if (result != Result::message) {
      return result;
    }
    std::uint8_t const* const start = bytes_.data() + begin_;
    begin_ += size;
    message = {read_header(start), start + Header::size, size - Header::size};
    if (!is_magic_cookie(message.header)) {
      return Result::message;
    }
  }
}

}  // namespace linux_platform::com
