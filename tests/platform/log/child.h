// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_LOG_CHILD_H
#define TESTS_PLATFORM_LOG_CHILD_H

#include <string>
#include <sys/types.h>

/// A running log_program. The limit on its waits is the one CTest sets.
class Child {
 public:
  static constexpr int memory = -1;
  static constexpr int closed = -2;
  /// `mode` is InitLogging's, `pipe_directory` the DLT daemon's, `standard_output` a descriptor or one of the above.
  Child(int mode, std::string const& pipe_directory, int standard_output = memory);
  ~Child();
  Child(Child const&) = delete;
  Child& operator=(Child const&) = delete;

  pid_t process() const { return process_; }
  void send(std::string const& command) const;
  /// The thread that reports next.
  pid_t reported() const;
  /// Sends a command and waits until it is done.
  void command(std::string const& command) const;

  /// Lets main return and waits for the end; the exit code, or minus the signal.
  int finish();
  /// What it wrote to standard output, if that is memory, and to standard error.
  std::string output() const;
  std::string errors() const;

 private:
  pid_t process_ = -1;
  int commands_ = -1;
  int output_ = -1;
  int errors_ = -1;
};

#endif
