// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_CONNECTION_FRAME_BUFFER_H
#define PLATFORM_SRC_COM_CONNECTION_FRAME_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/src/com/message/message_view.h"

namespace linux_platform::com {

/// Cuts the bytes of one connection into messages. Grows only as bytes really arrive, never by what a length field
/// promises, and at most to one message of the limit.
class Frame_buffer final {
 public:
  enum class Result : std::uint8_t {
    message,    ///< there is one
    need_more,  ///< the next message is not complete
    broken,     ///< the length field is below 8 or beyond the limit: the stream cannot be followed any further
  };

  /// `message_limit` is the greatest size of a message in bytes, header included. A buffer that has grown beyond
  /// `kept_size` is given back once it is empty.
  Frame_buffer(std::size_t message_limit, std::size_t kept_size) : limit_(message_limit), kept_size_(kept_size) {}

  /// Where the next bytes go; at least one. Views handed out before are void.
  struct Room {
    std::uint8_t* data;
    std::size_t size;
  };
  Room room();
  /// `bytes` of the room have been filled.
  void filled(std::size_t bytes) noexcept { end_ += bytes; }

  /// The next message, magic cookies left out. The view is good until the next call of room().
  Result next(Message_view& message);

  /// Whether next() has something to say without more bytes.
  bool has_message() const noexcept;
  /// Whether the stream stands inside a message.
  bool inside_message() const noexcept { return begin_ != end_; }

 private:
  std::size_t available() const noexcept { return end_ - begin_; }
  Result look(std::size_t& size) const noexcept;

  std::size_t const limit_;
  std::size_t const kept_size_;
  std::vector<std::uint8_t> bytes_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

}  // namespace linux_platform::com

#endif
