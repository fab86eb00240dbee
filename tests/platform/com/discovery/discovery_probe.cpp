// SPDX-License-Identifier: Apache-2.0
// A node that does what its standard input says, and says on standard output what it sees:
//   offer SERVICE INSTANCE PORT | find SERVICE INSTANCE WINDOW_MS
// Ends, with stop offers, at the end of its input. Arguments: own address, group, port.
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

#include "platform/src/com/discovery/discovery.h"

namespace {

using namespace linux_platform::com;

struct Printer final : Discovery_listener_if {
  void on_available(Service_key const& key, Endpoint const& endpoint) override {
    std::cout << "+ " << key.service << ' ' << endpoint.address << ':' << endpoint.port << std::endl;
  }
  void on_unavailable(Service_key const& key) override { std::cout << "- " << key.service << std::endl; }
  void on_reboot(boost::asio::ip::address_v4 const& address, discovery::Time /*last_heard*/) override {
    std::cout << "reboot " << address << std::endl;
  }
  void on_trouble(std::string const& what) override { std::cout << "trouble " << what << std::endl; }
};

void execute(Discovery& node, boost::asio::ip::address_v4 const& own, std::string const& line) {
  std::istringstream in{line};
  std::string verb;
  std::uint16_t service = 0;
  std::uint16_t instance = 0;
  std::uint16_t number = 0;
  in >> verb >> service >> instance >> number;
  if (verb == "offer") {
    node.offer({service, instance, 1, 0}, {own, number});
  } else {
    node.find(service, instance, 1, std::chrono::milliseconds{number},
              [](auto const& found) { std::cout << "found " << found.size() << std::endl; });
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> const arguments(argv + 1, argv + argc);
  auto const own = boost::asio::ip::make_address_v4(arguments.at(0));
  Discovery_settings settings;
  settings.group = boost::asio::ip::make_address_v4(arguments.at(1));
  settings.port = static_cast<std::uint16_t>(std::stoul(arguments.at(2)));
  boost::asio::io_context io;
  Printer printer;
  Discovery node{io.get_executor(), settings, own, printer};
  std::cout << "ready" << std::endl;
  std::thread input{[&] {
    for (std::string line; std::getline(std::cin, line);) {
      boost::asio::post(io, [&, line] { execute(node, own, line); });
    }
    boost::asio::post(io, [&] { node.stop(); });
  }};
  io.run();
  input.join();
}
