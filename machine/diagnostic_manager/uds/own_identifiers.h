// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_UDS_OWN_IDENTIFIERS_H
#define MACHINE_DIAGNOSTIC_MANAGER_UDS_OWN_IDENTIFIERS_H

#include <cstdint>
#include <memory>
#include <utility>

#include "machine/diagnostic_manager/uds/data_identifier_if.h"

namespace machine::diagnostic_manager::uds {

/// A record that never changes, such as the VIN.
class Constant_identifier final : public Data_identifier_if {
 public:
  explicit Constant_identifier(Bytes record) : record_(std::move(record)) {}

  std::unique_ptr<Running_read_if> read(Session /*session*/, Read_done done) override {
    done(record_);
    return nullptr;
  }

 private:
  Bytes const record_;
};

/// The session of the tester that asks.
class Session_identifier final : public Data_identifier_if {
 public:
  std::unique_ptr<Running_read_if> read(Session session, Read_done done) override {
    done(Bytes{static_cast<std::uint8_t>(session)});
    return nullptr;
  }
};

}  // namespace machine::diagnostic_manager::uds

#endif
