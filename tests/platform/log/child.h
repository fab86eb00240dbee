// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_LOG_CHILD_H
#define TESTS_PLATFORM_LOG_CHILD_H

#include <string>
#include <sys/types.h>

/// A running log_program with its own standard output and error.
class Child {
 public:
  /// `mode` is InitLogging's, `pipe_directory` the DLT daemon's. Standard output becomes a pipe, or `standard_output`
  /// if that is a descriptor, or is closed if that is `closed`.
  static constexpr int own_pipe = -1;
  static constexpr int closed = -2;
  Child(int mode, std::string const& pipe_directory, int standard_output = own_pipe);
  ~Child();
  Child(Child const&) = delete;
  Child& operator=(Child const&) = delete;

  pid_t process() const { return process_; }
  /// Sends a command and waits until it is done. Throws when it takes more than 20 s or the child is gone.
  void command(std::string const& line) const;
  void send(std::string const& line) const;
  /// What the child reports next.
  template <typename Value>
  Value reported() const {
    Value value{};
    read_report(&value, sizeof value);
    return value;
  }

  /// Lets main return and waits for the end; the exit code, or minus the signal. Reads the output meanwhile.
  int finish();
  /// Stops reading standard output for good: its pipe is closed.
  void abandon_output();
  std::string const& output() const { return output_; }
  std::string const& errors() const { return errors_; }

 private:
  void read_report(void* bytes, std::size_t size) const;

  pid_t process_ = -1;
  int commands_ = -1;
  int reports_ = -1;
  int output_end_ = -1;
  int error_end_ = -1;
  std::string output_;
  std::string errors_;
};

#endif
