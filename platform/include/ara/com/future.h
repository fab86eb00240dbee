// SPDX-License-Identifier: Apache-2.0
#ifndef ARA_COM_FUTURE_H
#define ARA_COM_FUTURE_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace ara::com {

enum class future_status : std::uint8_t { ready, timeout };

/// What a thread that waits for a result can do itself to bring it about, instead of sleeping until another thread has
/// done it. The communication gives one to the futures of method calls.
class Future_driver_if {
 public:
  virtual ~Future_driver_if() = default;
  Future_driver_if(Future_driver_if const&) = delete;
  Future_driver_if& operator=(Future_driver_if const&) = delete;

  /// Works until the result is on its way into the future or `until` has come. Called without locks by any thread.
  virtual void drive(std::chrono::steady_clock::time_point until) = 0;

 protected:
  Future_driver_if() = default;
};

namespace detail {

/// The instant `limit` from now; the last one there is when it lies beyond.
template <typename Rep, typename Period>
std::chrono::steady_clock::time_point after(std::chrono::duration<Rep, Period> const& limit) {
  using Clock = std::chrono::steady_clock;
  auto const now = Clock::now();
  return limit < Clock::time_point::max() - now ? now + std::chrono::duration_cast<Clock::duration>(limit)
                                                : Clock::time_point::max();
}

/// The place where a promise puts its result and a future finds it.
template <typename Stored>
class Future_state {
 public:
  void set_value(Stored value) {
    std::unique_lock<std::mutex> const lock(mutex_);
    take_place();
    value_.emplace(std::move(value));
    completed_.notify_all();
  }

  void set_exception(std::exception_ptr error) {
    std::unique_lock<std::mutex> const lock(mutex_);
    take_place();
    error_ = std::move(error);
    completed_.notify_all();
  }

  /// Completes with std::future_error (broken_promise), unless there is a result already.
  void abandon() noexcept {
    std::unique_lock<std::mutex> const lock(mutex_);
    if (!std::exchange(complete_, true)) {
      error_ = std::make_exception_ptr(std::future_error(std::future_errc::broken_promise));
      completed_.notify_all();
    }
  }

  bool is_ready() const {
    std::unique_lock<std::mutex> const lock(mutex_);
    return complete_;
  }

  void wait() const {
    std::unique_lock<std::mutex> lock(mutex_);
    completed_.wait(lock, [this] { return complete_; });
  }

  bool wait_until(std::chrono::steady_clock::time_point until) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return completed_.wait_until(lock, until, [this] { return complete_; });
  }

  /// Waits for the result, then moves the value out or throws the exception.
  Stored take() {
    std::unique_lock<std::mutex> lock(mutex_);
    completed_.wait(lock, [this] { return complete_; });
    if (error_ != nullptr) {
      // The exception goes with the thread that catches it; the other end keeps no hold of it.
      std::rethrow_exception(std::exchange(error_, nullptr));
    }
    return std::move(*value_);
  }

 private:
  void take_place() {
    if (std::exchange(complete_, true)) {
      throw std::future_error(std::future_errc::promise_already_satisfied);
    }
  }

  mutable std::mutex mutex_;
  mutable std::condition_variable completed_;
  bool complete_ = false;
  std::optional<Stored> value_;
  std::exception_ptr error_;
};

template <typename T>
using Stored = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

template <typename T>
class Promise_base;

}  // namespace detail

/// The result of a method call that may still be on its way. One thread at a time uses a future. A moved-from or
/// consumed future is not valid: all but valid() throw std::future_error then.
template <typename T>
class Future {
 public:
  Future() = default;

  bool valid() const noexcept { return state_ != nullptr; }

  /// Whether get() would return at once. Does what can be done without waiting to find out.
  bool is_ready() const { return wait_for(std::chrono::nanoseconds::zero()) == future_status::ready; }

  /// Blocks until the result is there. A method call's result always comes: the communication ends it with
  /// Transport_exception when its response time limit has passed.
  void wait() const {
    drive_until(std::chrono::steady_clock::time_point::max());
    state().wait();
  }

  /// Blocks until the result is there or `limit` has passed.
  template <typename Rep, typename Period>
  future_status wait_for(std::chrono::duration<Rep, Period> const& limit) const {
    auto const until = detail::after(limit);
    drive_until(until);
    return state().wait_until(until) ? future_status::ready : future_status::timeout;
  }

  /// Waits for the result and takes it: the value, or the exception with which the promise was completed. The future is
  /// not valid afterwards.
  T get() {
    drive_until(std::chrono::steady_clock::time_point::max());
    auto const state = std::exchange(state_, nullptr);
    driver_ = nullptr;
    if constexpr (std::is_void_v<T>) {
      state->take();
    } else {
      return state->take();
    }
  }

  /// For the communication: the waiting thread then works through `driver`.
  void set_driver(std::shared_ptr<Future_driver_if> driver) noexcept { driver_ = std::move(driver); }

 private:
  using State = detail::Future_state<detail::Stored<T>>;
  friend class detail::Promise_base<T>;

  explicit Future(std::shared_ptr<State> state) noexcept : state_(std::move(state)) {}

  State& state() const {
    if (state_ == nullptr) {
      throw std::future_error(std::future_errc::no_state);
    }
    return *state_;
  }

  void drive_until(std::chrono::steady_clock::time_point until) const {
    if (!state().is_ready() && driver_ != nullptr) {
      driver_->drive(until);
    }
  }

  std::shared_ptr<State> state_;
  std::shared_ptr<Future_driver_if> driver_;
};

namespace detail {

template <typename T>
class Promise_base {
 public:
  Promise_base() : state_(std::make_shared<Future_state<Stored<T>>>()) {}
  ~Promise_base() { abandon(); }
  Promise_base(Promise_base&& other) noexcept
      : state_(std::exchange(other.state_, nullptr)), retrieved_(other.retrieved_) {}
  Promise_base& operator=(Promise_base&& other) noexcept {
    if (this != &other) {
      abandon();
      state_ = std::exchange(other.state_, nullptr);
      retrieved_ = other.retrieved_;
    }
    return *this;
  }
  Promise_base(Promise_base const&) = delete;
  Promise_base& operator=(Promise_base const&) = delete;

  /// The future of this promise; may be asked for once.
  Future<T> get_future() {
    state();
    if (std::exchange(retrieved_, true)) {
      throw std::future_error(std::future_errc::future_already_retrieved);
    }
    return Future<T>(state_);
  }

  void set_exception(std::exception_ptr error) { state().set_exception(std::move(error)); }

 protected:
  Future_state<Stored<T>>& state() const {
    if (state_ == nullptr) {
      throw std::future_error(std::future_errc::no_state);
    }
    return *state_;
  }

 private:
  // A promise that goes without a result must not leave its future waiting.
  void abandon() noexcept {
    if (state_ != nullptr) {
      state_->abandon();
    }
  }

  std::shared_ptr<Future_state<Stored<T>>> state_;
  bool retrieved_ = false;
};

}  // namespace detail

/// The other end of a Future: completed once, from any thread, by a value or an exception; a second completion throws
/// std::future_error. A promise destroyed without either leaves std::future_error (broken_promise) in its future.
template <typename T>
class Promise final : public detail::Promise_base<T> {
 public:
  void set_value(T value) { this->state().set_value(std::move(value)); }
};

template <>
class Promise<void> final : public detail::Promise_base<void> {
 public:
  void set_value() { state().set_value({}); }
};

}  // namespace ara::com

#endif
