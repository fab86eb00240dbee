// SPDX-License-Identifier: Apache-2.0
// A node that does what its standard input says, and says on standard output what it sees:
//   offer SERVICE INSTANCE PORT | withdraw SERVICE INSTANCE | find SERVICE INSTANCE WINDOW_MS
// Ends, with stop offers, at the end of its input. Arguments: own address, group, port.
#include <iostream>
#include <sstream>
#include <string>
#include <unistd.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/streambuf.hpp>

#include "platform/src/com/discovery/discovery.h"

namespace {

using namespace linux_platform::com;

struct Printer final : Discovery_listener_if {
  void on_available(Service_key const& key, Endpoint const& endpoint) override {
    std::cout << "+ " << key.service << ' ' << key.instance << ' ' << endpoint.address << ':' << endpoint.port
              << std::endl;
  }
  void on_unavailable(Service_key const& key) override {
    std::cout << "- " << key.service << ' ' << key.instance << std::endl;
  }
  void on_reboot(boost::asio::ip::address_v4 const& address) override {
    std::cout << "reboot " << address << std::endl;
  }
  void on_trouble(std::string const& what) override { std::cout << "trouble " << what << std::endl; }
};

class Probe final {
 public:
  Probe(boost::asio::io_context& io, Discovery& node, boost::asio::ip::address_v4 const& own)
      : node_(node), own_(own), input_(io, ::dup(STDIN_FILENO)) {
    read();
  }

 private:
  void read() {
    boost::asio::async_read_until(input_, buffer_, '\n', [this](auto const& error, std::size_t /*size*/) {
      if (error) {
        node_.stop();
        return;
      }
      std::istream in{&buffer_};
      std::string line;
      std::getline(in, line);
      execute(line);
      read();
    });
  }

  void execute(std::string const& line) {
    std::istringstream in{line};
    std::string verb;
    std::uint16_t service = 0;
    std::uint16_t instance = 0;
    std::uint16_t number = 0;
    in >> verb >> service >> instance >> number;
    if (verb == "offer") {
      node_.offer({service, instance, 1, 0}, {own_, number});
    } else if (verb == "withdraw") {
      node_.withdraw({service, instance, 1, 0});
    } else {
      node_.find(service, instance, 1, std::chrono::milliseconds{number},
                 [](auto const& found) { std::cout << "found " << found.size() << std::endl; });
    }
  }

  Discovery& node_;
  boost::asio::ip::address_v4 own_;
  boost::asio::posix::stream_descriptor input_;
  boost::asio::streambuf buffer_;
};

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> const arguments(argv + 1, argv + argc);
  Discovery_settings settings;
  settings.group = boost::asio::ip::make_address_v4(arguments.at(1));
  settings.port = static_cast<std::uint16_t>(std::stoul(arguments.at(2)));
  auto const own = boost::asio::ip::make_address_v4(arguments.at(0));
  boost::asio::io_context io;
  Printer printer;
  Discovery node{io.get_executor(), settings, own, printer};
  Probe const probe{io, node, own};
  std::cout << "ready" << std::endl;
  io.run();
}
