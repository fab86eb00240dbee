// SPDX-License-Identifier: Apache-2.0
#include "tests/platform/log/child.h"

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

std::string content(int file) {
  struct stat status {};
  fstat(file, &status);
  std::string text(static_cast<std::size_t>(status.st_size), '\0');
  text.resize(static_cast<std::size_t>(pread(file, text.data(), text.size(), 0)));
  return text;
}

}  // namespace

Child::Child(int mode, std::string const& pipe_directory, int standard_output)
    : output_(memfd_create("output", MFD_CLOEXEC)), errors_(memfd_create("errors", MFD_CLOEXEC)) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    throw std::runtime_error("no socket for a child");
  }
  process_ = fork();
  if (process_ == 0) {
    setenv("DLT_PIPE_DIR", pipe_directory.c_str(), 1);
    dup2(ends[1], STDIN_FILENO);
    dup2(standard_output >= 0 ? standard_output : output_, STDOUT_FILENO);
    dup2(errors_, STDERR_FILENO);
    if (standard_output == closed) {
      close(STDOUT_FILENO);
    }
    execl(LOG_PROGRAM, LOG_PROGRAM, std::to_string(mode).c_str(), nullptr);
    _exit(127);
  }
  commands_ = ends[0];
  close(ends[1]);
}

Child::~Child() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  for (int const end : {commands_, output_, errors_}) {
    close(end);
  }
}

void Child::send(std::string const& command) const {
  ::send(commands_, (command + "\n").data(), command.size() + 1, MSG_NOSIGNAL);
}

pid_t Child::reported() const {
  pid_t thread = 0;
  if (read(commands_, &thread, sizeof thread) != sizeof thread) {
    throw std::runtime_error("the child is gone: " + errors());
  }
  return thread;
}

void Child::command(std::string const& command) const {
  send(command);
  reported();
}

int Child::finish() {
  shutdown(commands_, SHUT_WR);
  int status = 0;
  waitpid(std::exchange(process_, -1), &status, 0);
  if (status != 0) {
    std::cerr << errors();
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::string Child::output() const { return content(output_); }

std::string Child::errors() const { return content(errors_); }
