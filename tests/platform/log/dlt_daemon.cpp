// SPDX-License-Identifier: Apache-2.0
#include "tests/platform/log/dlt_daemon.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <optional>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

constexpr int limit_ms = 20'000;

/// One more chunk of what the other side sends; throws when none comes in time or it is gone.
void read_more(int from, std::string& into, std::string_view what) {
  pollfd ready{from, POLLIN, 0};
  std::string chunk(65536, '\0');
  auto const size = poll(&ready, 1, limit_ms) == 1 ? read(from, chunk.data(), chunk.size()) : -1;
  if (size <= 0) {
    throw std::runtime_error("the DLT daemon does not give: " + std::string(what));
  }
  into.append(chunk, 0, static_cast<std::size_t>(size));
}

/// The messages of an application have all optional header fields (type 0x3D), which makes 26 bytes of headers.
std::optional<Dlt_message> parse(std::string_view message) {
  constexpr std::size_t headers_size = 26;
  if (message.size() < headers_size || message[0] != 0x3D || message.substr(18, 4) != "FLWT") {
    return std::nullopt;
  }
  EXPECT_EQ(message[16] & 0x0F, 0x01) << "a log message in verbose mode";
  return Dlt_message{std::string(message.substr(22, 4)), static_cast<std::uint8_t>(message[16]) >> 4U,
                     static_cast<std::uint8_t>(message[17]), std::string(message.substr(headers_size))};
}

/// A loopback socket of its own, and how to reach it.
struct Endpoint {
  Endpoint() {
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  }
  sockaddr* get() { return reinterpret_cast<sockaddr*>(&address); }
  sockaddr_in address{};
  socklen_t size = sizeof address;
  int const socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

std::uint16_t free_port() {
  Endpoint probe;
  (void)bind(probe.socket, probe.get(), probe.size);
  getsockname(probe.socket, probe.get(), &probe.size);
  close(probe.socket);
  return ntohs(probe.address.sin_port);
}

}  // namespace

Dlt_daemon::Dlt_daemon() : directory_((std::filesystem::temp_directory_path() / "dlt-XXXXXX").string()) {
  if (mkdtemp(directory_.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(), "mkdtemp");
  }
  chmod(directory_.c_str(), 0777);
}

Dlt_daemon::~Dlt_daemon() {
  stop();
  std::filesystem::remove_all(directory_);
}

void Dlt_daemon::start(int context_level) {
  port_ = free_port();
  std::ofstream(directory_ + "/dlt.conf") << "ECUId = ECU1\nSharedMemorySize = 100000\nSendContextRegistration = 1\n"
                                          << "RingbufferMaxSize = 10000000\nLoggingMode = 3\nLoggingLevel = 6\n"
                                          << "ControlSocketPath = " << directory_ << "/control.sock\n"
                                          << "PersistanceStoragePath = " << directory_ << "\n"
                                          << "BindAddress = ::ffff:127.0.0.1\nContextLogLevel = " << context_level;
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe");
  }
  output_ = ends[0];
  process_ = fork();
  if (process_ == 0) {
    dup2(ends[1], STDERR_FILENO);
    execlp("dlt-daemon", "dlt-daemon", "-c", (directory_ + "/dlt.conf").c_str(), "-t", directory_.c_str(), "-p",
           std::to_string(port_).c_str(), nullptr);
    _exit(127);
  }
  close(ends[1]);
  std::string said;
  while (said.find("Switched to buffer state") == std::string::npos) {
    read_more(output_, said, "its first words");
  }
  Endpoint client;
  client.address.sin_port = htons(port_);
  client_ = client.socket;
  (void)connect(client_, client.get(), client.size);
}

void Dlt_daemon::stop() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    close(output_);
    close(client_);
    received_.clear();
    process_ = -1;
  }
}

void Dlt_daemon::send_signal(int signal) const { kill(process_, signal); }

void Dlt_daemon::set_level(std::string_view application, std::string_view context, int level) const {
  std::ostringstream command;
  command << "dlt-control -p " << port_ << " -a " << application << " -c " << context << " -l " << level
          << " 127.0.0.1 >" << directory_ << "/control.out 2>&1";
  if (std::system(command.str().c_str()) != 0) {  // NOLINT(cert-env33-c): words of the test alone
    throw std::runtime_error("failed: " + command.str());
  }
}

std::vector<Dlt_message> Dlt_daemon::receive_until(std::string_view last) {
  std::vector<Dlt_message> messages;
  while (messages.empty() || messages.back().payload.find(last) == std::string::npos) {
    std::size_t length = 4;
    if (received_.size() >= length) {
      length = static_cast<std::uint8_t>(received_[2]) * 256U + static_cast<std::uint8_t>(received_[3]);
    }
    if (received_.size() < std::max<std::size_t>(length, 5)) {
      read_more(client_, received_, std::string(last) + " after " + std::to_string(messages.size()) + " messages");
    } else {
      if (auto message = parse(std::string_view(received_).substr(0, length))) {
        messages.push_back(std::move(*message));
      }
      received_.erase(0, length);
    }
  }
  return messages;
}
