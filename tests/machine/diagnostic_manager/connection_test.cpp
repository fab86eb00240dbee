// SPDX-License-Identifier: Apache-2.0
// Testers' connections and the table of sockets, as conversations: tester N "opens", sends ("N> "), "vanishes", or has
// room for so many bytes ("N takes 30"); "after M" lets M ms pass. What the entity sends ("N< "), closes ("N closed")
// or turns away has to come just where it stands.
#include "machine/diagnostic_manager/connections/connection.h"

#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine/diagnostic_manager/uds/own_identifiers.h"
#include "tests/machine/diagnostic_manager/hex.h"

namespace machine::diagnostic_manager::connections {
namespace {

using Lines = std::vector<std::string>;

class Conversation {
 public:
  explicit Conversation(Connection_config const& config)
      : config_(config), sockets_(2, std::chrono::milliseconds(500), timers_) {
    identifiers_[0xF190] = std::make_unique<uds::Constant_identifier>(Bytes{'V'});
    identifiers_[0xF186] = std::make_unique<uds::Session_identifier>();
  }

  std::string play(Lines const& lines) {
    for (std::string const& line : lines) {
      bool const expectation = line[1] == '<' || line.find(" closed") == 1 || line.find(" turned away") == 1;
      if (!expectation) {
        seen_ += line + "\n";
        perform(line);
      }
    }
    return seen_;
  }

 private:
  struct Link final : Link_if {
    Link(std::string name, std::string& into) : number(std::move(name)), seen(into) {}
    void send(Bytes message) override { seen += number + "< " + to_hex(message) + "\n"; }
    std::size_t room() const override { return free; }
    void close(std::string_view /*reason*/) override { seen += number + " closed\n"; }
    std::string const number;
    std::string& seen;
    std::size_t free = std::numeric_limits<std::size_t>::max();
  };
  struct Tester {
    std::unique_ptr<Link> link;
    std::unique_ptr<Connection> connection;
  };

  void perform(std::string const& line) {
    if (line.rfind("after ", 0) == 0) {
      now_ += std::chrono::milliseconds(std::stoi(line.substr(6)));
      timers_.run_due();
      return;
    }
    Tester& tester = testers_[line[0]];
    if (line[1] == '>') {
      tester.connection->receive(from_hex(line.substr(2)));
    } else if (line.find("takes") == 2) {
      tester.link->free = static_cast<std::size_t>(std::stoi(line.substr(8)));
    } else if (line.find("vanishes") == 2) {
      tester.connection.reset();
    } else if (!sockets_.has_room()) {
      seen_ += line.substr(0, 1) + " turned away\n";
    } else {
      tester.link = std::make_unique<Link>(line.substr(0, 1), seen_);
      Connection::Shared const shared{config_, timers_, sockets_, memory_, identifiers_};
      tester.connection = std::make_unique<Connection>(static_cast<Socket_table::Id>(line[0]), shared, *tester.link);
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

std::string asks(char who, std::string const& address, std::string const& type = "00") {
  return std::string(1, who) + "> " + doip_hex("0005", address + type + "00000000");
}
std::string told(char who, std::string const& address, std::string const& code) {
  return std::string(1, who) + "< " + doip_hex("0006", address + "1001" + code + "00000000");
}
std::string alive_asked(char who) { return std::string(1, who) + "< 02FD000700000000"; }
std::string alive(char who, std::string const& address) {
  return std::string(1, who) + "> " + doip_hex("0008", address);
}
std::string diagnoses(char who, std::string const& addresses, std::string const& data) {
  return std::string(1, who) + "> " + doip_hex("8001", addresses + data);
}
std::string acknowledged(char who, std::string const& addresses) {
  return std::string(1, who) + "< " + doip_hex("8002", addresses + "00");
}
std::string refused(char who, std::string const& addresses, std::string const& code) {
  return std::string(1, who) + "< " + doip_hex("8003", addresses + code);
}
std::string answered(char who, std::string const& addresses, std::string const& data) {
  return std::string(1, who) + "< " + doip_hex("8001", addresses + data);
}

Lines after(Lines first, Lines const& then) {
  first.insert(first.end(), then.begin(), then.end());
  return first;
}
Lines opened(char who, std::string const& address) {
  return {std::string(1, who) + " opens", asks(who, address), told(who, address, "10")};
}

struct Row {
  char const* name;
  Lines lines;
};

void expect_conversations(std::vector<Row> const& rows) {
  Connection_config config;
  config.general_inactivity = std::chrono::milliseconds(5000);
  config.max_data_size = 64;
  config.max_request = 8;
  config.uds.max_response = 16;
  config.activation_types = {{0x00, Activation_policy::open},
                             {0x01, Activation_policy::needs_authentication},
                             {0x02, Activation_policy::needs_tls},
                             {0x03, Activation_policy::rejected},
                             {0x04, Activation_policy::confirmed_later}};
  for (Row const& row : rows) {
    std::string expected;
    for (std::string const& line : row.lines) {
      expected += line + "\n";
    }
    EXPECT_EQ(Conversation(config).play(row.lines), expected) << row.name;
  }
}

TEST(AConnection, ActivatesRouting) {
  expect_conversations({
      {"both ends of the range, and beyond",
       {"1 opens", asks('1', "0E00"), told('1', "0E00", "10"), "2 opens", asks('2', "0FFF"), told('2', "0FFF", "10"),
        "3 opens", asks('3', "0DFF"), told('3', "0DFF", "00"), "3 closed", "4 opens", asks('4', "1000"),
        told('4', "1000", "00"), "4 closed"}},
      {"again", after(opened('1', "0E80"), {asks('1', "0E80"), told('1', "0E80", "10")})},
      {"as somebody else", after(opened('1', "0E80"), {asks('1', "0E81"), told('1', "0E81", "02"), "1 closed"})},
      {"a type that is not there", {"1 opens", asks('1', "0E80", "E0"), told('1', "0E80", "06"), "1 closed"}},
      {"address before type", {"1 opens", asks('1', "0001", "E0"), told('1', "0001", "00"), "1 closed"}},
      {"with TLS", {"1 opens", asks('1', "0E80", "02"), told('1', "0E80", "07"), "1 closed"}},
      {"confirmation refused", {"1 opens", asks('1', "0E80", "03"), told('1', "0E80", "05"), "1 closed"}},
      {"without authentication, then with a type that needs none",
       {"1 opens", asks('1', "0E80", "01"), told('1', "0E80", "04"), "after 1999", asks('1', "0E80"),
        told('1', "0E80", "10")}},
      {"without authentication, and then nothing",
       {"1 opens", asks('1', "0E80", "01"), told('1', "0E80", "04"), "after 2000", "1 closed"}},
      {"confirmed later",
       {"1 opens", asks('1', "0E80", "04"), told('1', "0E80", "11"), asks('1', "0E80", "04"), told('1', "0E80", "11"),
        "after 1000", diagnoses('1', "0E801001", "3E00"), acknowledged('1', "10010E80"),
        answered('1', "10010E80", "7E00")}},
      {"diagnosis before the confirmation",
       {"1 opens", asks('1', "0E80", "04"), told('1', "0E80", "11"), diagnoses('1', "0E801001", "3E00"),
        refused('1', "10010E80", "02"), "1 closed", "after 1000"}},
  });
}

TEST(AConnection, MakesRoomForTheLiving) {
  Lines const full = after(opened('1', "0E81"), opened('2', "0E82"));
  expect_conversations({
      {"the same address, and the holder lives",
       after(opened('1', "0E80"), {"2 opens", asks('2', "0E80"), alive_asked('1'), "after 499", alive('1', "0E80"),
                                   told('2', "0E80", "03"), "2 closed", "after 9"})},
      {"the holder is silent", after(opened('1', "0E80"), {"2 opens", asks('2', "0E80"), alive_asked('1'), "after 500",
                                                           "1 closed", told('2', "0E80", "10")})},
      {"the holder answers for another",
       after(opened('1', "0E80"), {"2 opens", asks('2', "0E80"), alive_asked('1'), alive('1', "0E81"), "after 500",
                                   "1 closed", told('2', "0E80", "10")})},
      {"the holder vanishes", after(opened('1', "0E80"), {"2 opens", asks('2', "0E80"), alive_asked('1'), "1 vanishes",
                                                          told('2', "0E80", "10")})},
      {"two ask for the same; the one who gets it is asked in turn",
       after(opened('1', "0E80"),
             {"2 opens", asks('2', "0E80"), alive_asked('1'), "3 opens", asks('3', "0E80"), "after 500", "1 closed",
              told('2', "0E80", "10"), alive_asked('2'), alive('2', "0E80"), told('3', "0E80", "03"), "3 closed"})},
      {"one who waits vanishes",
       after(opened('1', "0E80"), {"2 opens", asks('2', "0E80"), alive_asked('1'), "2 vanishes", alive('1', "0E80")})},
      {"no place, and all live",
       after(full, {"3 opens", asks('3', "0E83"), alive_asked('1'), alive_asked('2'), "4 opens", "4 turned away",
                    alive('2', "0E82"), alive('1', "0E81"), told('3', "0E83", "01"), "3 closed"})},
      {"no place until a silent one goes",
       after(full, {"3 opens", asks('3', "0E83"), alive_asked('1'), alive_asked('2'), alive('2', "0E82"), "after 500",
                    "1 closed", told('3', "0E83", "10")})},
      {"a place is left by a closed one",
       after(full, {"1 vanishes", "3 opens", asks('3', "0E83"), told('3', "0E83", "10")})},
      {"an answer nobody waits for", after(opened('1', "0E80"), {alive('1', "0E80")})},
  });
}

TEST(AConnection, Diagnoses) {
  Lines const active = opened('1', "0E80");
  expect_conversations({
      {"without activation",
       {"1 opens", diagnoses('1', "0E801001", "3E00"), refused('1', "10010E80", "02"), "1 closed"}},
      {"as somebody else",
       after(active, {diagnoses('1', "0E811001", "3E00"), refused('1', "10010E81", "02"), "1 closed"})},
      {"somebody else", after(active, {diagnoses('1', "0E801002", "3E00"), refused('1', "10020E80", "03"),
                                       diagnoses('1', "0E801001", "3E00"), acknowledged('1', "10010E80"),
                                       answered('1', "10010E80", "7E00")})},
      {"all together", after(active, {diagnoses('1', "0E80E400", "3E00"), acknowledged('1', "E4000E80"),
                                      answered('1', "10010E80", "7E00"), diagnoses('1', "0E80E400", "11"),
                                      acknowledged('1', "E4000E80")})},
      {"as much as is taken, and one byte more",
       after(active, {diagnoses('1', "0E801001", "221111222233F1"), acknowledged('1', "10010E80"),
                      answered('1', "10010E80", "7F2231"), diagnoses('1', "0E801001", "221111222233334444"),
                      refused('1', "10010E80", "04")})},
      {"without room for the answer",
       after(active,
             {"1 takes 40", diagnoses('1', "0E801001", "3E00"), refused('1', "10010E80", "05"), "1 takes 41",
              diagnoses('1', "0E801001", "3E00"), acknowledged('1', "10010E80"), answered('1', "10010E80", "7E00")})},
      {"in version 3", after(active, {"1> 03FC8001000000060E8010013E00", "1< 03FC80020000000510010E8000",
                                      "1< 03FC80010000000610010E807E00"})},
      {"each in a session of its own",
       after(after(active, opened('2', "0E81")),
             {diagnoses('1', "0E801001", "1083"), acknowledged('1', "10010E80"), diagnoses('2', "0E811001", "22F186"),
              acknowledged('2', "10010E81"), answered('2', "10010E81", "62F18601")})},
  });
}

TEST(AConnection, EndsWhenItIsIdleOrNotUnderstood) {
  expect_conversations({
      {"no activation", {"1 opens", "after 1999", "after 1", "1 closed"}},
      {"half an activation", {"1 opens", "after 1999", "1> 02FD0005", "after 1", "1 closed"}},
      {"no message", after(opened('1', "0E80"), {"after 4999", diagnoses('1', "0E801001", "3E80"),
                                                 acknowledged('1', "10010E80"), "after 4999", "after 1", "1 closed"})},
      {"a wrong pattern", after(opened('1', "0E80"), {"1> 02FE800100000000", "1< 02FD00000000000100", "1 closed",
                                                      diagnoses('1', "0E801001", "3E00")})},
      {"a wrong length", {"1 opens", "1> 02FD000500000001", "1< 02FD00000000000104", "1 closed"}},
      {"other refusals end nothing",
       {"1 opens",
        "1> 02FD1234000000020000"
        "02FD80010000004100",
        "1< 02FD00000000000101", "1< 02FD00000000000102"}},
  });
}

}  // namespace
}  // namespace machine::diagnostic_manager::connections
