// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_BYTE_STREAM_IF_H
#define MACHINE_FLASHWATCH_READ_BYTE_STREAM_IF_H

#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <string>

#include "machine/diagnostic_manager/bytes/byte_view.h"

namespace flashwatch_read {

using machine::diagnostic_manager::Byte_view;
using machine::diagnostic_manager::Bytes;
using Deadline = std::chrono::steady_clock::time_point;

/// Why bytes could not be sent or received.
class Stream_error : public std::runtime_error {
 public:
  enum class Kind {
    timed_out,  ///< the deadline passed; the stream can go on being used
    lost        ///< the connection is gone
  };
  Stream_error(Kind kind, std::string const& text) : std::runtime_error{text}, kind_{kind} {}
  Kind kind() const noexcept { return kind_; }

 private:
  Kind kind_;
};

/// A connection to an entity: bytes in order, both ways. Used by one thread. Both operations block, at the longest
/// until the deadline, and throw Stream_error (also when the deadline has passed before they begin), or Stop_requested
/// as soon as the user wants to stop.
class Byte_stream_if {
 public:
  virtual ~Byte_stream_if() = default;
  Byte_stream_if(Byte_stream_if const&) = delete;
  Byte_stream_if& operator=(Byte_stream_if const&) = delete;

  /// Sends all bytes.
  virtual void send(Byte_view bytes, Deadline deadline) = 0;
  /// Receives at least one and at most `most` bytes; `most` is not 0.
  [[nodiscard]] virtual Bytes receive(std::size_t most, Deadline deadline) = 0;

 protected:
  Byte_stream_if() = default;
};

}  // namespace flashwatch_read

#endif
