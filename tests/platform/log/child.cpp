// SPDX-License-Identifier: Apache-2.0
#include "tests/platform/log/child.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int limit_ms = 20'000;

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
    reading = ends[0];
    writing = ends[1];
  }
  int reading = -1;
  int writing = -1;
};

void close_end(int& end) {
  if (end >= 0) {
    close(std::exchange(end, -1));
  }
}

/// Whether there may be more to come.
bool read_some(int from, std::string& into) {
  std::array<char, 65536> chunk{};
  auto const size = read(from, chunk.data(), chunk.size());
  into.append(chunk.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  return size > 0;
}

}  // namespace

Child::Child(int mode, std::string const& pipe_directory, int standard_output) {
  Pipe commands;
  Pipe reports;
  Pipe errors;
  Pipe output;
  process_ = fork();
  if (process_ == 0) {
    setenv("DLT_PIPE_DIR", pipe_directory.c_str(), 1);
    // Upwards from where nothing is in the way of the numbers the child wants.
    std::array<int, 4> const from{fcntl(commands.reading, F_DUPFD_CLOEXEC, 50),
                                  fcntl(standard_output >= 0 ? standard_output : output.writing, F_DUPFD_CLOEXEC, 50),
                                  fcntl(errors.writing, F_DUPFD_CLOEXEC, 50),
                                  fcntl(reports.writing, F_DUPFD_CLOEXEC, 50)};
    for (int number = 0; number < 4; ++number) {
      dup2(from.at(static_cast<std::size_t>(number)), number);
    }
    if (standard_output == closed) {
      close(STDOUT_FILENO);
    }
    execl(LOG_PROGRAM, LOG_PROGRAM, std::to_string(mode).c_str(), nullptr);
    _exit(127);
  }
  commands_ = commands.writing;
  reports_ = reports.reading;
  error_end_ = errors.reading;
  output_end_ = output.reading;
  for (auto* const end : {&commands.reading, &reports.writing, &errors.writing, &output.writing}) {
    close_end(*end);
  }
}

Child::~Child() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  for (auto* const end : {&commands_, &reports_, &error_end_, &output_end_}) {
    close_end(*end);
  }
}

void Child::send(std::string const& line) const {
  if (write(commands_, (line + "\n").data(), line.size() + 1) < 0) {
    throw std::runtime_error("the child is gone");
  }
}

void Child::command(std::string const& line) const {
  send(line);
  reported<char>();
}

void Child::read_report(void* bytes, std::size_t size) const {
  pollfd ready{reports_, POLLIN, 0};
  if (poll(&ready, 1, limit_ms) != 1 || read(reports_, bytes, size) != static_cast<ssize_t>(size)) {
    throw std::runtime_error("the child does not report");
  }
}

void Child::abandon_output() { close_end(output_end_); }

int Child::finish() {
  close_end(commands_);
  // poll leaves out what is closed; the child's end closes both.
  std::array<pollfd, 2> ready{pollfd{output_end_, POLLIN, 0}, pollfd{error_end_, POLLIN, 0}};
  while ((ready[0].fd >= 0 || ready[1].fd >= 0) && poll(ready.data(), ready.size(), limit_ms) > 0) {
    if (ready[0].revents != 0 && !read_some(ready[0].fd, output_)) {
      ready[0].fd = -1;
    }
    if (ready[1].revents != 0 && !read_some(ready[1].fd, errors_)) {
      ready[1].fd = -1;
    }
  }
  if (ready[0].fd >= 0 || ready[1].fd >= 0) {
    kill(process_, SIGKILL);
  }
  int status = 0;
  waitpid(std::exchange(process_, -1), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}
