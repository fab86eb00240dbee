// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/entity_source.h"

#include <utility>

#include "machine/flashwatch_read/identifier_reader.h"

namespace flashwatch_read {

Reading Entity_source::read() {
  bool const used_before = session_ != nullptr;
  try {
    if (!session_) {
      connect();
    }
    auto reading = read_figures(*session_, settings_);
    reading.reconnected = std::exchange(lost_, false);
    return reading;
  } catch (Connection_lost const&) {
    session_.reset();
    lost_ = true;
    if (!used_before) {
      throw;
    }
  } catch (Read_error const&) {
    session_.reset();
    throw;
  }
  return read();
}

Deadline Entity_source::now() const { return std::chrono::steady_clock::now(); }

void Entity_source::pause_until(Deadline then) {
  if (session_) {
    try {
      session_->idle_until(then);
      return;
    } catch (Read_error const&) {
      session_.reset();
      lost_ = true;
    }
  }
  stop_->wait_until(then);
}

void Entity_source::connect() {
  auto session = std::make_unique<Doip_session>(
      Tcp_stream::connect(remote_, settings_.timeout, stop_ == nullptr ? -1 : stop_->descriptor()), settings_);
  session->activate_routing();
  session_ = std::move(session);
}

}  // namespace flashwatch_read
