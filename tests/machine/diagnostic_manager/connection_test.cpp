// SPDX-License-Identifier: Apache-2.0
// Testers' connections and the table of sockets, as conversations. Tester N "opens", "activates ADDRESS TYPE", is
// "alive ADDRESS", "diagnoses ADDRESS TARGET UDS", "sends HEX", "takes BYTES" at most, "vanishes"; "after N" lets N ms
// pass. What the entity says ("N: ..."), closes or turns away has to come just where it stands.
#include "machine/diagnostic_manager/connections/connection.h"

#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine/diagnostic_manager/uds/own_identifiers.h"
#include "tests/machine/diagnostic_manager/script.h"

namespace machine::diagnostic_manager::connections {
namespace {

std::string describe(std::string const& message) {
  std::string const type = message.substr(4, 4);
  std::string const payload = message.substr(16);
  std::string const version = message[1] == '2' ? "" : "v3 ";
  return version + (type == "0006"   ? "routing " + payload.substr(0, 4) + " " + payload.substr(8, 2)
                    : type == "0007" ? "alive?"
                    : type == "8001" ? "uds " + payload.substr(8)
                    : type == "8002" ? "ack " + payload.substr(0, 4)
                    : type == "8003" ? "nack " + payload.substr(0, 4) + " " + payload.substr(8)
                                     : "header " + payload);
}

class Conversation {
 public:
  explicit Conversation(Connection_config const& config)
      : config_(config), sockets_(2, std::chrono::milliseconds(500), timers_) {
    identifiers_[0xF186] = std::make_unique<uds::Session_identifier>();
  }

  std::string play(std::string const& script) {
    for (std::string const& step : split(script, "; ")) {
      bool const expectation = step[1] == ':' || step.substr(1) == " closed" || step.substr(1) == " turned away";
      if (!expectation) {
        seen_ += "; " + step;
        perform(step[0], split(step, " "));
      }
    }
    return seen_.substr(2);
  }

 private:
  struct Link final : Link_if {
    Link(char who, std::string& into) : name(1, who), seen(into) {}
    void send(Bytes message) override { seen += "; " + name + ": " + describe(to_hex(message)); }
    std::size_t room() const override { return free; }
    void close(std::string_view /*reason*/) override { seen += "; " + name + " closed"; }
    std::string const name;
    std::string& seen;
    std::size_t free = std::numeric_limits<std::size_t>::max();
  };
  struct Tester {
    std::unique_ptr<Link> link;
    std::unique_ptr<Connection> connection;
  };

  void perform(char who, std::vector<std::string> const& words) {
    Tester& tester = testers_[who];
    if (words[0] == "after") {
      now_ += std::chrono::milliseconds(std::stoi(words[1]));
      timers_.run_due();
    } else if (words[1] == "activates") {
      tester.connection->receive(from_hex("02FD000500000007" + words[2] + words[3] + "00000000"));
    } else if (words[1] == "alive") {
      tester.connection->receive(from_hex("02FD000800000002" + words[2]));
    } else if (words[1] == "diagnoses") {
      std::size_t const data = words[4].size() / 2;
      std::string const size = to_hex(Bytes{static_cast<std::uint8_t>(4 + data)});
      tester.connection->receive(from_hex("02FD8001000000" + size + words[2] + words[3] + words[4]));
    } else if (words[1] == "sends") {
      tester.connection->receive(from_hex(words[2]));
    } else if (words[1] == "takes") {
      tester.link->free = static_cast<std::size_t>(std::stoi(words[2]));
    } else if (words[1] == "vanishes") {
      tester.connection.reset();
    } else if (!sockets_.has_room()) {
      seen_ += "; " + words[0] + " turned away";
    } else {
      tester.link = std::make_unique<Link>(who, seen_);
      Connection::Shared const shared{config_, timers_, sockets_, memory_, identifiers_};
      tester.connection = std::make_unique<Connection>(static_cast<Socket_table::Id>(who), shared, *tester.link);
    }
  }

  Connection_config const config_;
  Timer_queue::Time now_{};
  Timer_queue timers_{[this] { return now_; }};
  uds::Identifier_table identifiers_;
  Socket_table sockets_;
  doip::Memory_budget memory_{1000};
  std::string seen_;
  std::map<char, Tester> testers_;
};

void expect_conversations(std::vector<std::string> const& scripts) {
  Connection_config config;
  config.general_inactivity = std::chrono::milliseconds(5000);
  config.max_data_size = 64;
  config.max_request = 8;
  config.uds.max_response = 16;
  config.activation_types = {{0x00, Activation_policy::open},
                             {0x01, Activation_policy::needs_authentication},
                             {0x04, Activation_policy::confirmed_later}};
  for (std::string const& script : scripts) {
    EXPECT_EQ(Conversation(config).play(script), script);
  }
}

std::string const one = "1 opens; 1 activates 0E81 00; 1: routing 0E81 10; ";
std::string const both = one + "2 opens; 2 activates 0E82 00; 2: routing 0E82 10; ";
std::string const asked = one + "2 opens; 2 activates 0E81 00; 1: alive?; ";

TEST(AConnection, ActivatesRouting) {
  expect_conversations({
      "1 opens; 1 activates 0E00 00; 1: routing 0E00 10; 2 opens; 2 activates 0DFF 00; 2: routing 0DFF 00; 2 closed",
      "1 opens; 1 activates 0FFF 00; 1: routing 0FFF 10; 2 opens; 2 activates 1000 E0; 2: routing 1000 00; 2 closed",
      one + "1 activates 0E81 00; 1: routing 0E81 10; 1 activates 0E82 00; 1: routing 0E82 02; 1 closed",
      "1 opens; 1 activates 0E81 01; 1: routing 0E81 04; after 1999; after 1; 1 closed",
      "1 opens; 1 activates 0E81 04; 1: routing 0E81 11; 1 activates 0E81 04; 1: routing 0E81 11; after 1000; "
      "1 diagnoses 0E81 1001 3E80; 1: ack 1001",
      "1 opens; 1 activates 0E81 04; 1: routing 0E81 11; 1 diagnoses 0E81 1001 3E00; 1: nack 1001 02; 1 closed; "
      "after 1000",
      "1 opens; after 1999; 1 sends 02FD0005; after 1; 1 closed; 1 sends 02FD",
  });
}

TEST(AConnection, MakesRoomForTheLiving) {
  expect_conversations({
      asked + "after 499; 1 alive 0E81; 2: routing 0E81 03; 2 closed; after 9",
      asked + "1 alive 0E80; after 499; after 1; 1 closed; 2: routing 0E81 10",
      asked + "1 vanishes; 2: routing 0E81 10",
      asked + "2 vanishes; 1 alive 0E81",
      // Of two who wait for one address, the one who gets it is asked in turn.
      asked + "3 opens; 3 activates 0E81 00; after 500; 1 closed; 2: routing 0E81 10; 2: alive?; 2 alive 0E81; "
              "3: routing 0E81 03; 3 closed",
      both + "3 opens; 3 activates 0E83 00; 1: alive?; 2: alive?; 4 opens; 4 turned away; 2 alive 0E82; 1 alive 0E81; "
             "3: routing 0E83 01; 3 closed",
      both +
          "3 opens; 3 activates 0E83 00; 1: alive?; 2: alive?; 2 alive 0E82; after 500; 1 closed; 3: routing 0E83 10",
      both + "1 vanishes; 3 opens; 3 activates 0E83 00; 3: routing 0E83 10",
      one + "1 alive 0E81",
  });
}

TEST(AConnection, Diagnoses) {
  expect_conversations({
      one + "1 diagnoses 0E82 1001 3E00; 1: nack 1001 02; 1 closed; 1 diagnoses 0E81 1001 3E00",
      one + "1 diagnoses 0E81 1002 3E00; 1: nack 1002 03; 1 diagnoses 0E81 E400 3E00; 1: ack E400; 1: uds 7E00",
      one + "1 diagnoses 0E81 1001 2211112222333344; 1: ack 1001; 1: uds 7F2213; "
            "1 diagnoses 0E81 1001 221111222233334444; 1: nack 1001 04",
      one + "1 takes 40; 1 diagnoses 0E81 1001 3E00; 1: nack 1001 05; 1 takes 41; 1 diagnoses 0E81 1001 3E00; "
            "1: ack 1001; 1: uds 7E00",
      one + "1 sends 03FC8001000000060E8110013E00; 1: v3 ack 1001; 1: v3 uds 7E00",
      both + "1 diagnoses 0E81 1001 1083; 1: ack 1001; 2 diagnoses 0E82 1001 22F186; 2: ack 1001; 2: uds 62F18601",
      one + "after 4999; 1 diagnoses 0E81 1001 3E80; 1: ack 1001; after 4999; after 1; 1 closed",
      one + "1 sends 02FD12340000000200FF02FD800100000041; 1: header 01; 1: header 02",
      one + "1 sends 02FD000500000001; 1: header 04; 1 closed",
  });
}

}  // namespace
}  // namespace machine::diagnostic_manager::connections
