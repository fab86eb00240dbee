// SPDX-License-Identifier: Apache-2.0
#include "tests/platform/log/dlt_daemon.h"

#include <algorithm>
#include <arpa/inet.h>
#include <csignal>
#include <cstdlib>
#include <cstring>
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
#include <unistd.h>

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

class Bytes {
 public:
  explicit Bytes(std::string_view rest) : rest_(rest) {}
  std::string_view take(std::size_t size) {
    auto const taken = rest_.substr(0, size);
    if (taken.size() != size) {
      throw std::runtime_error("a DLT message ends too early");
    }
    rest_.remove_prefix(size);
    return taken;
  }
  template <typename Value>
  Value take() {
    Value value{};
    std::memcpy(&value, take(sizeof value).data(), sizeof value);
    return value;
  }
  std::string take_id() {
    auto const id = take(4);
    return std::string(id.substr(0, std::min(id.size(), id.find('\0'))));
  }

 private:
  std::string_view rest_;
};

template <typename Value>
std::string number(Bytes& payload) {
  std::ostringstream text;
  text << +payload.take<Value>();
  return text.str();
}

std::string integer(Bytes& payload, unsigned bits, bool is_signed) {
  switch (bits) {
    case 8:
      return is_signed ? number<std::int8_t>(payload) : number<std::uint8_t>(payload);
    case 16:
      return is_signed ? number<std::int16_t>(payload) : number<std::uint16_t>(payload);
    case 32:
      return is_signed ? number<std::int32_t>(payload) : number<std::uint32_t>(payload);
    default:
      return is_signed ? number<std::int64_t>(payload) : number<std::uint64_t>(payload);
  }
}

std::string piece(Bytes& payload) {
  auto const type = payload.take<std::uint32_t>();
  auto const bits = 4U << (type & 0xFU);
  switch (type & ~0xFU) {
    case 0x10:
      return "bool" + std::to_string(bits) + ":" + integer(payload, bits, false);
    case 0x20:
      return "int" + std::to_string(bits) + ":" + integer(payload, bits, true);
    case 0x40:
      return "uint" + std::to_string(bits) + ":" + integer(payload, bits, false);
    case 0x80:
      return "float" + std::to_string(bits) + ":" + (bits == 32 ? number<float>(payload) : number<double>(payload));
    case 0x8200: {
      auto const text = payload.take(payload.take<std::uint16_t>());
      return "utf8:" + std::string(text.substr(0, text.size() - 1));
    }
    default:
      throw std::runtime_error("a DLT argument of type " + std::to_string(type));
  }
}

/// Log messages have an extended header in verbose mode; the daemon's own messages are left out.
std::optional<Dlt_message> parse(Bytes message, std::uint8_t header_type) {
  for (auto const optional_field : {0x04U, 0x08U, 0x10U}) {
    message.take((header_type & optional_field) != 0 ? 4 : 0);
  }
  auto const info = (header_type & 0x01U) != 0 ? message.take<std::uint8_t>() : 0U;
  if ((info & 0x0FU) != 0x01U) {
    return std::nullopt;
  }
  auto const count = message.take<std::uint8_t>();
  Dlt_message parsed{message.take_id(), message.take_id(), static_cast<int>(info >> 4U), {}};
  if (parsed.application == "DLTD") {
    return std::nullopt;
  }
  for (int i = 0; i < count; ++i) {
    parsed.pieces.push_back(piece(message));
  }
  return parsed;
}

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

std::uint16_t free_port() {
  auto address = loopback(0);
  socklen_t size = sizeof address;
  int const probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  bind(probe, reinterpret_cast<sockaddr*>(&address), size);
  getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size);
  close(probe);
  return ntohs(address.sin_port);
}

}  // namespace

Dlt_daemon::Dlt_daemon() : directory_((std::filesystem::temp_directory_path() / "dlt-XXXXXX").string()) {
  mkdtemp(directory_.data());
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
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
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
  connect_client();
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
  if (std::system(command.str().c_str()) != 0) {
    throw std::runtime_error("failed: " + command.str());
  }
}

void Dlt_daemon::connect_client() {
  auto const address = loopback(port_);
  client_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connect(client_, reinterpret_cast<sockaddr const*>(&address), sizeof address) != 0) {
    throw std::runtime_error("the DLT daemon does not serve");
  }
}

std::vector<Dlt_message> Dlt_daemon::receive_until(std::string_view last) {
  auto const wanted = "utf8:" + std::string(last);
  std::vector<Dlt_message> messages;
  while (messages.empty() || messages.back().pieces.front() != wanted) {
    std::string_view const start = received_;
    auto const length = start.size() < 4 ? 4U : ntohs(Bytes(start.substr(2)).take<std::uint16_t>());
    if (start.size() < std::max<std::size_t>(length, 5)) {
      read_more(client_, received_, std::string(last) + " after " + std::to_string(messages.size()) + " messages");
      continue;
    }
    if (auto message = parse(Bytes(start.substr(4, length - 4U)), static_cast<std::uint8_t>(start[0]))) {
      messages.push_back(std::move(*message));
    }
    received_.erase(0, length);
  }
  return messages;
}
