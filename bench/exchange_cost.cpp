// SPDX-License-Identifier: Apache-2.0
// Requests and answers with different peers, in turns.
//   exchange_cost IN_FLIGHT ROUNDS CALLS    a round makes CALLS calls with each peer that standard input names, one a
//                                           line; IN_FLIGHT of them are under way at a time
// A line is one of
//   NAME raw ADDRESS PORT GREETING SKIP REQUEST SIZE   bytes in hexadecimal ("-" for none): sends the greeting, skips
//                                                      SKIP bytes, then sends requests and hears SIZE bytes for each
//   NAME raw_singly ...                                as raw, but every request is sent by itself
//   NAME proxy SIZE                                    calls bench::Echo with SIZE bytes through our proxy
// With one in flight each time printed is that of one call, else that of CALLS calls.
#include <deque>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

#include "ara/log/logging.h"
#include "bench/echo_interface.h"
#include "bench/raw_connection.h"
#include "bench/rounds.h"
#include "tarn/com/runtime/component_singleton.h"

namespace {

using bench::Bytes;

Bytes from_hexadecimal(std::string const& text) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

/// Bytes to send, and how many come back.
class Raw_peer final {
 public:
  Raw_peer(std::istream& line, std::size_t in_flight, bool singly) : connection_(connect(line)), singly_(singly) {
    std::string greeting;
    std::size_t skipped = 0;
    std::string request;
    if (!(line >> greeting >> skipped >> request >> answer_size_) || answer_size_ == 0) {
      throw std::runtime_error("a raw peer is: ADDRESS PORT GREETING SKIP REQUEST SIZE");
    }
    auto const hello = from_hexadecimal(greeting);
    connection_.send(hello.data(), hello.size());
    answers_.resize(std::max(skipped, answer_size_ * in_flight));
    connection_.receive(answers_.data(), skipped);
    auto const one = from_hexadecimal(request);
    request_size_ = one.size();
    for (std::size_t i = 0; i < in_flight; ++i) {
      requests_.insert(requests_.end(), one.begin(), one.end());
    }
  }

  void call() {
    connection_.send(requests_.data(), request_size_);
    connection_.receive(answers_.data(), answer_size_);
  }

  void call(std::size_t calls, std::size_t in_flight) {
    std::size_t unsent = calls - in_flight;
    std::size_t unheard = calls * answer_size_;
    std::size_t partial = 0;
    send(in_flight);
    while (unheard > 0) {
      auto const received = connection_.receive_some(answers_.data(), answers_.size());
      if (received == 0) {
        throw std::runtime_error("the peer has closed the connection");
      }
      unheard -= received;
      partial += received;
      auto const next = std::min(unsent, partial / answer_size_);
      partial %= answer_size_;
      send(next);
      unsent -= next;
    }
  }

 private:
  static bench::Raw_connection connect(std::istream& line) {
    std::string address;
    std::uint16_t port = 0;
    line >> address >> port;
    return bench::Raw_connection::connect(address, port);
  }

  void send(std::size_t count) {
    if (!singly_) {
      connection_.send(requests_.data(), count * request_size_);
      return;
    }
    for (std::size_t i = 0; i < count; ++i) {
      connection_.send(requests_.data(), request_size_);
    }
  }

  bench::Raw_connection connection_;
  bool singly_;
  std::size_t answer_size_ = 0;
  std::size_t request_size_ = 0;
  Bytes requests_;
  Bytes answers_;
};

/// Our proxy of the echo.
class Proxy_peer final {
 public:
  explicit Proxy_peer(std::istream& line) : runtime_(false, ""), proxy_(orvel::com::runtime::Instance_id("echo")) {
    std::size_t size = 0;
    line >> size;
    bytes_.resize(size);
  }

  void call() const { hear(proxy_.echo(bytes_)); }

  void call(std::size_t calls, std::size_t in_flight) const {
    std::deque<ara::com::Future<Bytes>> under_way;
    for (std::size_t i = 0; i < calls; ++i) {
      if (under_way.size() == in_flight) {
        hear(std::move(under_way.front()));
        under_way.pop_front();
      }
      under_way.push_back(proxy_.echo(bytes_));
    }
    for (auto& future : under_way) {
      hear(std::move(future));
    }
  }

 private:
  void hear(ara::com::Future<Bytes> answer) const {
    if (answer.get().size() != bytes_.size()) {
      throw std::runtime_error("the echo differs");
    }
  }

  tarn::com::runtime::Component_singleton runtime_;
  bench::Echo_proxy proxy_;
  Bytes bytes_;
};

template <typename Peer>
void add(bench::Rounds& rounds, std::string const& name, std::shared_ptr<Peer> peer, std::size_t in_flight,
         std::size_t calls) {
  if (in_flight == 1) {
    rounds.add(name, [peer] { peer->call(); });
  } else {
    rounds.add(name, [peer, calls, in_flight] { peer->call(calls, in_flight); });
  }
}

void run(std::size_t in_flight, std::size_t count, std::size_t calls) {
  bench::Rounds rounds;
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream words(line);
    std::string name;
    std::string kind;
    words >> name >> kind;
    if (kind == "raw" || kind == "raw_singly") {
      add(rounds, name, std::make_shared<Raw_peer>(words, in_flight, kind == "raw_singly"), in_flight, calls);
    } else if (kind == "proxy") {
      add(rounds, name, std::make_shared<Proxy_peer>(words), in_flight, calls);
    } else {
      throw std::runtime_error("unknown kind of peer: '" + kind + "'");
    }
  }
  rounds.run(count, in_flight == 1 ? calls : 1);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 4) {
      throw std::runtime_error("usage: exchange_cost IN_FLIGHT ROUNDS CALLS");
    }
    ara::log::InitLogging("BNCH", "measurements", ara::log::LogLevel::kWarn, ara::log::LogMode::kConsole, "");
    run(std::stoul(argv[1]), std::stoul(argv[2]), std::stoul(argv[3]));
  } catch (std::exception const& error) {
    std::cerr << "exchange_cost: " << error.what() << "\n";
    return 1;
  }
}
