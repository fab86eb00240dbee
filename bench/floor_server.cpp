// SPDX-License-Identifier: Apache-2.0
// The floor of an exchange: blocking TCP, one thread a connection. A client first says what it will send and what it
// wants to hear (see floor_greeting); from then on every request gets that answer.
//   floor_server ADDRESS PORT [NEXT_ADDRESS]   with NEXT_ADDRESS every request goes through the server there (same
//                                              port) before it is answered
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <thread>

#include "bench/raw_connection.h"

namespace {

using bench::Bytes;
using bench::Raw_connection;

constexpr std::size_t room = 64U << 10U;

/// The server behind this one.
class Next_hop final {
 public:
  Next_hop(std::string const& address, std::uint16_t port, bench::Floor_exchange const& exchange)
      : connection_(Raw_connection::connect(address, port)),
        request_(exchange.request_size),
        answer_(exchange.answer.size()) {
    auto const greeting = bench::floor_greeting(exchange.request_size, exchange.answer);
    connection_.send(greeting.data(), greeting.size());
  }

  void ask() {
    connection_.send(request_.data(), request_.size());
    connection_.receive(answer_.data(), answer_.size());
  }

 private:
  Raw_connection connection_;
  Bytes request_;
  Bytes answer_;
};

void serve(Raw_connection const& client, std::string const& next_address, std::uint16_t port) {
  auto const exchange = bench::hear_greeting(client);
  std::optional<Next_hop> next;
  if (!next_address.empty()) {
    next.emplace(next_address, port, exchange);
  }
  Bytes requests(room);
  Bytes answers;
  std::size_t pending = 0;
  while (auto const received = client.receive_some(requests.data(), requests.size())) {
    answers.clear();
    for (pending += received; pending >= exchange.request_size; pending -= exchange.request_size) {
      if (next) {
        next->ask();
      }
      answers.insert(answers.end(), exchange.answer.begin(), exchange.answer.end());
    }
    client.send(answers.data(), answers.size());
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc < 3) {
      throw std::runtime_error("usage: floor_server ADDRESS PORT [NEXT_ADDRESS]");
    }
    auto const port = static_cast<std::uint16_t>(std::stoul(argv[2]));
    std::string const next = argc > 3 ? argv[3] : "";
    int const listener = bench::listen_at(argv[1], port);
    std::cout << "ready" << std::endl;
    for (;;) {
      std::thread([client = Raw_connection(bench::accept_from(listener)), next, port] {
        try {
          serve(client, next, port);
        } catch (std::exception const& error) {
          std::cerr << "floor_server: " << error.what() << "\n";
        }
      }).detach();
    }
  } catch (std::exception const& error) {
    std::cerr << "floor_server: " << error.what() << "\n";
    return 1;
  }
}
