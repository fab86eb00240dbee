// SPDX-License-Identifier: Apache-2.0
// The UDS server, as conversations: "> " is a request to the entity alone, "F> " one to all, "< " what has to come
// next, "after N" lets N ms pass, and "17F0 = ..." / "17F0 ! NN" is how the service behind an identifier answers or
// fails. Nothing may be said that the conversation does not hold.
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "machine/diagnostic_manager/timers/timer_queue.h"
#include "machine/diagnostic_manager/uds/own_identifiers.h"
#include "machine/diagnostic_manager/uds/server.h"
#include "tests/machine/diagnostic_manager/script.h"

namespace machine::diagnostic_manager::uds {
namespace {

/// An identifier whose reads end when the test says so.
class Scripted_identifier final : public Data_identifier_if {
 public:
  std::unique_ptr<Running_read_if> read(Session /*session*/, Read_done done) override {
    done_ = std::move(done);
    ++started;
    return std::make_unique<Running>(*this);
  }
  void end(Read_outcome outcome) {
    if (Read_done const done = std::exchange(done_, nullptr)) {
      done(std::move(outcome));
    }
  }
  int started = 0;

 private:
  struct Running final : Running_read_if {
    explicit Running(Scripted_identifier& of) : identifier(of) {}
    ~Running() override { identifier.done_ = nullptr; }
    Scripted_identifier& identifier;
  };
  Read_done done_;
};

class Conversation {
 public:
  explicit Conversation(Server::Config const& config)
      : server_(config, identifiers_, timers_, [this](Bytes const& response) { said_ += "; < " + to_hex(response); }) {
    identifiers_[0xF186] = std::make_unique<Session_identifier>();
    identifiers_[0xF190] = std::make_unique<Constant_identifier>(Bytes{'V', 'I', 'N'});
    for (std::uint16_t const number : {did_flashwatch_report, did_budget_exceedance}) {
      auto identifier = std::make_unique<Scripted_identifier>();
      scripted_[number] = identifier.get();
      identifiers_[number] = std::move(identifier);
    }
  }

  /// What is said when the lines that are not the server's are played.
  std::string play(std::string const& script) {
    for (std::string const& line : split(script, "; ")) {
      if (line.rfind("< ", 0) != 0) {
        said_ += "; " + line;
        perform(line);
      }
    }
    return said_.substr(2);
  }

  Scripted_identifier& identifier(std::uint16_t number) { return *scripted_.at(number); }

 private:
  void perform(std::string const& line) {
    if (line.rfind("after ", 0) == 0) {
      now_ += std::chrono::milliseconds(std::stoi(line.substr(6)));
      timers_.run_due();
    } else if (auto const sent = line.find("> "); sent != std::string::npos) {
      server_.request(from_hex(line.substr(sent + 2)), sent == 0 ? Addressing::physical : Addressing::functional);
    } else {
      Bytes const rest = from_hex(line.substr(6));
      auto& read = *scripted_.at(static_cast<std::uint16_t>(std::stoi(line.substr(0, 4), nullptr, 16)));
      read.end(line[5] == '=' ? Read_outcome(rest) : Read_outcome(static_cast<Response_code>(rest.at(0))));
    }
  }

  Timer_queue::Time now_{};
  Timer_queue timers_{[this] { return now_; }};
  Identifier_table identifiers_;
  std::map<std::uint16_t, Scripted_identifier*> scripted_;
  std::string said_;
  Server server_;
};

Server::Config config() {
  Server::Config config;
  config.max_identifiers = 3;
  config.max_response = 20;
  config.max_pending_responses = 2;
  return config;
}

void expect_conversations(std::vector<std::string> const& scripts, Server::Config const& with = config()) {
  for (std::string const& script : scripts) {
    EXPECT_EQ(Conversation(with).play(script), script);
  }
}

TEST(TheUdsServer, KeepsSessions) {
  expect_conversations({
      "> 1001; < 5001003201F4; > 1003; < 5003003201F4",
      "> 22F186; < 62F18601; > 1003; < 5003003201F4; > 22F186; < 62F18603",
      "> 1083; > 22F186; < 62F18603; > 3E80",
      "> 1082; < 7F1012; > 3E81; < 7F3E12",
      "> 1002; < 7F1012; F> 1002",
      "> 10; < 7F1013; > 100300; < 7F1013; > 3E; < 7F3E13; F> 3E0000; < 7F3E13",
      "> 100200; < 7F1012",
      "> 3E00; < 7E00; F> 3E00; < 7E00",
      "> 1083; after 4999; > 3E80; after 4999; > 22F186; < 62F18603; after 5000; > 22F186; < 62F18601",
      "> 1083; > 2217F2; after 40; < 7F2278; after 5000; < 7F2278; 17F2 = 01; < 6217F201; after 4999; > "
      "22F186; < 62F18603",
      "> 11; < 7F1111; > 190201; < 7F1911; F> 2701",
  });
}

TEST(TheUdsServer, ReadsIdentifiers) {
  expect_conversations({
      "> 2217F0; 17F0 = 0102; < 6217F00102",
      "> 2217F217F0F190; 17F0 = 0102; 17F2 = 01; < 6217F20117F00102F19056494E",
      "> 22F190F190; < 62F19056494EF19056494E",
      "> 22FFFFF1901234; < 62F19056494E",
      "> 221234; < 7F2231; F> 221234",
      "> 22; < 7F2213; > 2217; < 7F2213; > 2217F017; < 7F2213",
      "> 22FFFFFFFFF190; < 62F19056494E; > 22FFFFFFFFFFFFF190; < 7F2213",
      "> 2217F0; 17F0 = 0102030405060708090A0B0C0D0E0F1011; < 6217F00102030405060708090A0B0C0D0E0F1011",
      "> 2217F0; 17F0 = 0102030405060708090A0B0C0D0E0F101112; < 7F2214",
      "> 2217F0F190; 17F0 = 0102030405060708090A0B0C0D0E; < 7F2214",
      "> 22F19017F0; 17F0 ! 22; < 7F2222",
      "> 2217F017F2; 17F2 ! 22; 17F0 ! 11; < 7F2211",
      "> 2217F017F2; 17F0 ! 11; < 7F2211; > 2217F2; 17F2 = 00; < 6217F200",
      "F> 2217F0; 17F0 ! 11",
      "F> 2217F0; 17F0 ! 22; < 7F2222",
  });
}

TEST(TheUdsServer, BridgesSlowReads) {
  expect_conversations({
      "> 2217F0; after 39; after 1; < 7F2278; after 3999; after 1; < 7F2278; 17F0 = 01; < 6217F001; after 9999",
      "> 2217F0; after 40; < 7F2278; after 4000; < 7F2278; after 4000; < 7F2210; 17F0 = 01; > 22F186; < 62F18601",
      "F> 2217F0; after 40; < 7F2278; 17F0 ! 11; < 7F2211; F> 221234",
      "> 2217F0; > 22F190; < 7F2221; > 3E80; > 3E00; < 7F3E21; 17F0 = 01; < 6217F001",
  });
}

TEST(TheUdsServer, RefusesReadsInTheDefaultSessionIfConfigured) {
  Server::Config strict = config();
  strict.read_needs_extended_session = true;
  expect_conversations({"> 22F190; < 7F227F; F> 22F190; > 1083; > 22F190; < 62F19056494E; > 1081; > 22F190; < 7F227F"},
                       strict);
}

TEST(TheUdsServer, ReadsEachIdentifierOnceForARequest) {
  Conversation conversation(config());
  conversation.play("> 2217F017F217F0");
  EXPECT_EQ(conversation.identifier(0x17F0).started, 1);
  EXPECT_EQ(conversation.identifier(0x17F2).started, 1);
}

}  // namespace
}  // namespace machine::diagnostic_manager::uds
