// SPDX-License-Identifier: Apache-2.0
#ifndef BENCH_RAW_CONNECTION_H
#define BENCH_RAW_CONNECTION_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace bench {

using Bytes = std::vector<std::uint8_t>;

/// A blocking TCP connection with nothing on top: what everything else is measured against. All functions throw
/// std::system_error, and std::runtime_error when the peer closes while bytes are wanted.
class Raw_connection final {
 public:
  /// Takes a connected socket over.
  explicit Raw_connection(int descriptor);
  static Raw_connection connect(std::string const& address, std::uint16_t port);
  ~Raw_connection();
  Raw_connection(Raw_connection&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Raw_connection& operator=(Raw_connection&&) = delete;

  void send(std::uint8_t const* data, std::size_t size) const;
  /// What has come, at most `size` bytes; waits for the first. 0 when the peer has closed.
  std::size_t receive_some(std::uint8_t* data, std::size_t size) const;
  void receive(std::uint8_t* data, std::size_t size) const;

 private:
  int descriptor_;
};

/// A listening socket. Throws std::system_error.
int listen_at(std::string const& address, std::uint16_t port);
int accept_from(int listener);

/// What a client tells the floor server first: how many bytes a request has, and the answer that each gets.
Bytes floor_greeting(std::size_t request_size, Bytes const& answer);
/// The greeting's other end.
struct Floor_exchange {
  std::size_t request_size;
  Bytes answer;
};
Floor_exchange hear_greeting(Raw_connection const& client);

}  // namespace bench

#endif
