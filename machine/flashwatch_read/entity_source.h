// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_ENTITY_SOURCE_H
#define MACHINE_FLASHWATCH_READ_ENTITY_SOURCE_H

#include <memory>

#include "machine/flashwatch_read/doip_session.h"
#include "machine/flashwatch_read/figure_source_if.h"
#include "machine/flashwatch_read/stop_signal.h"
#include "machine/flashwatch_read/tcp_stream.h"

namespace flashwatch_read {

/// Readings of a real entity, over one connection for as long as it lasts.
class Entity_source final : public Figure_source_if {
 public:
  /// `stop` outlives the source; without it, signals end the process as usual and pause_until must not be called.
  Entity_source(Remote remote, Tester_settings const& settings, Stop_signal const* stop)
      : remote_{std::move(remote)}, settings_{settings}, stop_{stop} {}

  /// A connection that the entity has ended is made again once before the reading fails.
  Reading read() override;
  Deadline now() const override;
  /// Answers alive checks meanwhile, so that the entity keeps the connection.
  void pause_until(Deadline then) override;

 private:
  void connect();

  Remote remote_;
  Tester_settings settings_;
  Stop_signal const* stop_;
  std::unique_ptr<Doip_session> session_;
  bool lost_ = false;  ///< a connection was lost since the last reading
};

}  // namespace flashwatch_read

#endif
