// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_DIAGNOSTIC_MANAGER_CONNECTIONS_SOCKET_TABLE_H
#define MACHINE_DIAGNOSTIC_MANAGER_CONNECTIONS_SOCKET_TABLE_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <set>

#include "machine/diagnostic_manager/doip/activation_code.h"
#include "machine/diagnostic_manager/timers/timer.h"

namespace machine::diagnostic_manager::connections {

/// The socket handler of ISO 13400-2: which tester address is registered on which connection. `max_sockets` testers may
/// be registered, and one connection more may be open, so that one tester too many is told why it is refused.
///
/// A tester that asks for an address which another connection holds, or for which no place is left, waits while the
/// holders are asked whether they are alive; those that stay silent are closed and give up their place.
class Socket_table {
 public:
  using Id = std::uint64_t;
  using Decided = std::function<void(doip::Activation_code)>;

  /// A connection, as the table needs it.
  class Member_if {
   public:
    Member_if() = default;
    virtual ~Member_if() = default;
    Member_if(Member_if const&) = delete;
    Member_if& operator=(Member_if const&) = delete;

    virtual void send_alive_check() = 0;
    /// The alive check went unanswered: close, and leave the table before returning.
    virtual void give_way() = 0;
  };

  Socket_table(std::size_t max_sockets, std::chrono::milliseconds alive_check_time, Timer_queue& timers)
      : max_sockets_(max_sockets), alive_check_time_(alive_check_time), timers_(timers) {}

  bool has_room() const noexcept { return entries_.size() <= max_sockets_; }
  std::size_t open_sockets() const noexcept { return entries_.size(); }

  /// Only when there is room. `member` stays valid until `remove`.
  void add(Id id, Member_if& member);
  /// No effect on a connection that is not in the table. A waiting decision of its own is dropped.
  void remove(Id id);

  /// Registers `address` on the connection. `decided` is called once, before this returns or later: activated,
  /// other_address_on_socket, address_on_other_socket or all_sockets_active.
  void activate(Id id, std::uint16_t address, Decided decided);
  /// Gives the registration up; the connection stays in the table.
  void release(Id id);
  /// The connection answered an alive check.
  void alive(Id id);

 private:
  struct Entry {
    Entry(Member_if& owner, Timer_queue& timers) : member(owner), alive_timer(timers) {}
    Member_if& member;
    Timer alive_timer;
    std::optional<std::uint16_t> address;
  };
  /// An activation that waits for the connections in `asked`.
  struct Waiting {
    Id id = 0;
    std::uint16_t address = 0;
    Decided decided;
    std::set<Id> asked;
    bool for_place = false;
    bool holder_alive = false;
  };

  void examine(Waiting waiting);
  void ask(Id id, Entry& entry, Waiting& waiting);
  void concluded(Id id, bool alive);
  std::size_t registered() const noexcept;
  std::map<Id, Entry>::iterator holder(std::uint16_t address);

  std::size_t const max_sockets_;
  std::chrono::milliseconds const alive_check_time_;
  Timer_queue& timers_;
  std::map<Id, Entry> entries_;
  std::list<Waiting> waiting_;
};

}  // namespace machine::diagnostic_manager::connections

#endif
