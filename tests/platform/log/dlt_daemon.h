// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_PLATFORM_LOG_DLT_DAEMON_H
#define TESTS_PLATFORM_LOG_DLT_DAEMON_H

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

/// A log message of FLWT as it left the daemon.
struct Dlt_message {
  std::string context;
  int level = 0;
  int argument_count = 0;
  /// The arguments as they are on the wire.
  std::string payload;
};

/// A real DLT daemon of a test's own, on loopback, in a temporary directory.
class Dlt_daemon {
 public:
  Dlt_daemon();
  ~Dlt_daemon();
  Dlt_daemon(Dlt_daemon const&) = delete;
  Dlt_daemon& operator=(Dlt_daemon const&) = delete;

  /// Starts it and waits until it serves. Contexts that do not ask for a level get `context_level`.
  void start(int context_level = 6);
  void stop();
  /// SIGSTOP, SIGCONT.
  void send_signal(int signal) const;

  /// What DLT_PIPE_DIR has to be.
  std::string const& directory() const { return directory_; }
  /// As `dlt-control -l level` does it.
  void set_level(std::string_view application, std::string_view context, int level) const;

  /// Everything the daemon delivers up to the first one with `last` in its payload.
  std::vector<Dlt_message> receive_until(std::string_view last);

 private:
  std::string directory_;
  std::uint16_t port_ = 0;
  pid_t process_ = -1;
  int output_ = -1;
  int client_ = -1;
  std::string received_;
};

#endif
