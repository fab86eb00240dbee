// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_UDS_DATA_IDENTIFIER_IF_H
#define MACHINE_DIAGNOSTIC_MANAGER_UDS_DATA_IDENTIFIER_IF_H

#include <functional>
#include <memory>
#include <variant>

#include "machine/diagnostic_manager/bytes/byte_view.h"
#include "machine/diagnostic_manager/uds/response_code.h"
#include "machine/diagnostic_manager/uds/session.h"

namespace machine::diagnostic_manager::uds {

/// The data record, or the code with which the whole request is refused.
using Read_outcome = std::variant<Bytes, Response_code>;
using Read_done = std::function<void(Read_outcome)>;

/// A read that has been started. Destroying it withdraws the interest: its `done` is not called any more.
class Running_read_if {
 public:
  Running_read_if() = default;
  virtual ~Running_read_if() = default;
  Running_read_if(Running_read_if const&) = delete;
  Running_read_if& operator=(Running_read_if const&) = delete;
};

/// What stands behind one data identifier. Called on the server's thread, shared by all testers' servers.
class Data_identifier_if {
 public:
  Data_identifier_if() = default;
  virtual ~Data_identifier_if() = default;
  Data_identifier_if(Data_identifier_if const&) = delete;
  Data_identifier_if& operator=(Data_identifier_if const&) = delete;

  /// Starts a read for a tester whose session is `session`. Blocks for some milliseconds at most. `done` is called on
  /// the server's thread, at most once: before this returns (the result may then be null), or later, unless the result
  /// has been destroyed. It may destroy the result.
  [[nodiscard]] virtual std::unique_ptr<Running_read_if> read(Session session, Read_done done) = 0;
};

}  // namespace machine::diagnostic_manager::uds

#endif
