// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/runtime/process_runtime.h"

#include <mutex>
#include <stdexcept>
#include <utility>

namespace linux_platform::com {
namespace {

struct Holder {
  std::mutex mutex;
  std::shared_ptr<Runtime> runtime;
};

// The one object that the platform prescribes for a process: proxies and skeletons do not name the runtime they use.
Holder& holder() {
  static Holder instance;
  return instance;
}

}  // namespace

void Process_runtime::start(std::shared_ptr<Runtime> runtime) {
  std::lock_guard<std::mutex> const lock(holder().mutex);
  if (holder().runtime != nullptr) {
    throw std::logic_error("the communication runtime of this process has been started already");
  }
  holder().runtime = std::move(runtime);
}

std::shared_ptr<Runtime> Process_runtime::end() noexcept {
  std::lock_guard<std::mutex> const lock(holder().mutex);
  return std::exchange(holder().runtime, nullptr);
}

std::shared_ptr<Runtime> Process_runtime::get() {
  std::lock_guard<std::mutex> const lock(holder().mutex);
  if (holder().runtime == nullptr) {
    throw std::logic_error("the communication runtime of this process has not been started");
  }
  return holder().runtime;
}

}  // namespace linux_platform::com
