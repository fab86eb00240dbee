// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_LOG_CHILD_H
#define TESTS_PLATFORM_LOG_CHILD_H

#include <array>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

/// A running log_program. The limit on its waits is the one CTest sets.
class Child {
 public:
  static constexpr int memory = -1;
  static constexpr int closed = -2;
  /// `mode` is InitLogging's, `pipe_directory` the DLT daemon's, `standard_output` a descriptor or one of the above.
  Child(int mode, std::string const& pipe_directory, int standard_output = memory) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
      throw std::runtime_error("no socket for a child");
    }
    commands_ = ends[0];
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
    close(ends[1]);
  }
  ~Child() {
    if (process_ > 0) {
      kill(process_, SIGKILL);
      waitpid(process_, nullptr, 0);
    }
    for (int const end : {commands_, output_, errors_}) {
      close(end);
    }
  }
  Child(Child const&) = delete;
  Child& operator=(Child const&) = delete;

  pid_t process() const { return process_; }
  void send(std::string const& command) const {
    ::send(commands_, (command + "\n").data(), command.size() + 1, MSG_NOSIGNAL);
  }
  /// The thread that reports next.
  pid_t reported() const {
    pid_t thread = 0;
    return read(commands_, &thread, sizeof thread) == sizeof thread
               ? thread
               : throw std::runtime_error("the child is gone: " + errors());
  }
  /// Sends a command and waits until it is done.
  void command(std::string const& command) const {
    send(command);
    reported();
  }
  /// Lets main return.
  void end() const { shutdown(commands_, SHUT_WR); }
  /// Lets main return and waits for the end; the exit code, or minus the signal.
  int finish() {
    end();
    int status = 0;
    waitpid(std::exchange(process_, -1), &status, 0);
    if (status != 0) {
      std::cerr << errors();
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  /// What it wrote to standard output, if that is memory, and to standard error.
  std::string output() const { return content(output_); }
  std::string errors() const { return content(errors_); }

 private:
  static std::string content(int file) {
    std::string text(1 << 20, '\0');
    text.resize(static_cast<std::size_t>(pread(file, text.data(), text.size(), 0)));
    return text;
  }

  pid_t process_ = -1;
  int commands_ = -1;
  int const output_ = memfd_create("output", MFD_CLOEXEC);
  int const errors_ = memfd_create("errors", MFD_CLOEXEC);
};

#endif
