// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_WORKER_POOL_H
#define PLATFORM_SRC_COM_RUNTIME_WORKER_POOL_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

#include "platform/src/com/runtime/readiness.h"
#include "platform/src/com/runtime/workspace.h"

namespace linux_platform::com {

/// The threads that run methods, as leader and followers: the leader waits for the next sign and deals with it to its
/// end; then it leads again, unless another one does so by now. No thread is woken on the way of a request.
///
/// While a method runs nobody leads. Most methods are over before the next request could be read by anyone else; for
/// those that are not, whoever watches over the pool calls promote(), and a follower or a new thread takes the lead.
/// (Two threads that wait at the same place take turns, which costs more than all the rest of the pool's work.)
///
/// One thread lives as long as the pool; the others leave when they have not been needed for some seconds. All of them
/// block all signals.
class Worker_pool final {
 public:
  /// Deals with a sign, on a worker; must not throw.
  using Serve = std::function<void(Readiness::Sign sign, Workspace& workspace)>;
  /// Called by a worker that has just given up the lead.
  using Left_alone = std::function<void()>;

  /// `limit` is the number of threads, at least one.
  Worker_pool(std::size_t limit, Serve serve, Left_alone left_alone)
      : limit_(limit), serve_(std::move(serve)), left_alone_(std::move(left_alone)) {}
  ~Worker_pool() { stop(); }
  Worker_pool(Worker_pool const&) = delete;
  Worker_pool& operator=(Worker_pool const&) = delete;

  /// Where the leader waits.
  Readiness& readiness() noexcept { return readiness_; }

  /// Starts the first thread; without effect when it runs. Throws std::system_error.
  void start();
  bool has_leader() const noexcept { return led_; }
  /// Has a leader when it returns true; otherwise all threads that there may be are inside methods, and the first to
  /// come out leads.
  bool promote() noexcept;
  /// Ends the threads once they come out of what they are doing, and waits for that.
  void stop() noexcept;

 private:
  using Self = std::list<std::thread>::iterator;

  void add_leader();
  void run(Self self);
  bool follow(Self self);

  std::size_t const limit_;
  Serve const serve_;
  Left_alone const left_alone_;
  Readiness readiness_;
  std::atomic<bool> led_{false};  ///< set with the mutex held, cleared by the leader
  std::atomic<bool> stopping_{false};

  std::mutex mutex_;  ///< guards what follows
  std::condition_variable promoted_;
  std::size_t followers_ = 0;
  std::size_t promotions_ = 0;  ///< followers that have been made leader and do not know yet: 0 or 1
  std::list<std::thread> workers_;
  std::list<std::thread> departed_;  ///< have left or are just leaving
};

}  // namespace linux_platform::com

#endif
