// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_UDS_READ_REQUEST_H
#define MACHINE_DIAGNOSTIC_MANAGER_UDS_READ_REQUEST_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "machine/diagnostic_manager/bytes/byte_view.h"
#include "machine/diagnostic_manager/uds/data_identifier_if.h"
#include "machine/diagnostic_manager/uds/identifier_table.h"

namespace machine::diagnostic_manager::uds {

/// One ReadDataByIdentifier request under way. Every identifier is read once, all at the same time, and the answer is
/// made in the order of the request, in which the first failure decides. Destroying it withdraws what still runs.
class Read_request {
 public:
  /// The whole positive response, or the code of the negative one.
  using Outcome = std::variant<Bytes, Response_code>;
  using Done = std::function<void(Outcome)>;

  /// `identifiers` are those of the request, in its order, unknown ones left out; each is a key of `table`.
  /// A response of more than `max_response` bytes is refused.
  Read_request(Identifier_table const& table, std::vector<std::uint16_t> identifiers, std::size_t max_response,
               Done done);

  /// Starts the reads. Calls `done` once, before it returns or later; `done` may destroy this object.
  void start(Session session);

 private:
  struct Part {
    std::unique_ptr<Running_read_if> running;
    std::optional<Read_outcome> outcome;
  };

  void finish_if_decided();
  std::optional<Outcome> decide() const;

  Identifier_table const& table_;
  std::vector<std::uint16_t> const order_;
  std::size_t const max_response_;
  Done const done_;
  std::map<std::uint16_t, Part> parts_;
  bool started_ = false;
};

}  // namespace machine::diagnostic_manager::uds

#endif
