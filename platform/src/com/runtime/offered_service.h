// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_COM_RUNTIME_OFFERED_SERVICE_H
#define PLATFORM_SRC_COM_RUNTIME_OFFERED_SERVICE_H

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "platform/src/com/discovery/service_key.h"
#include "platform/src/com/message/header.h"
#include "platform/src/com/message/service_deployment.h"
#include "platform/src/com/runtime/workspace.h"
#include "tarn/com/cpp_binding/deserializer.h"
#include "tarn/com/cpp_binding/serializer.h"

namespace linux_platform::com {

/// One instance of a service that this process offers: its methods, and who is inside them.
class Offered_service final {
 public:
  /// As for Skeleton_base.
  using Method = std::function<std::shared_ptr<void const>(tarn::com::cpp_binding::Deserializer& arguments,
                                                           tarn::com::cpp_binding::Serializer& result)>;

  Offered_service(std::shared_ptr<Service_deployment const> deployment, Service_deployment::Instance instance)
      : deployment_(std::move(deployment)), instance_(instance) {}

  /// Before the service is offered; the methods do not change afterwards.
  void add_method(std::uint16_t id, Method method) { methods_[id] = std::move(method); }
  bool has_method(std::uint16_t id) const { return methods_.count(id) != 0; }

  Service_deployment const& deployment() const noexcept { return *deployment_; }
  std::uint16_t port() const noexcept { return instance_.port; }
  Service_key key() const noexcept { return {deployment_->id, instance_.id, deployment_->major, deployment_->minor}; }

  /// Lets calls in, until close().
  void open();
  /// Lets no call in any more and waits for those inside.
  void close();

  /// Runs a method that it has, the one that the header in `workspace` names, and writes the whole answer, header
  /// included, there. An answer longer than `message_limit` becomes E_NOT_OK; an empty one is not to be sent. False,
  /// and nothing done, when the service is closed.
  bool run(Workspace& workspace, std::size_t message_limit);

 private:
  class Visit;
  Header run_method(Workspace& workspace) const;

  std::shared_ptr<Service_deployment const> const deployment_;
  Service_deployment::Instance const instance_;
  std::map<std::uint16_t, Method> methods_;

  std::mutex mutex_;  ///< guards what follows
  std::condition_variable left_;
  std::size_t inside_ = 0;
  bool open_ = false;
};

}  // namespace linux_platform::com

#endif
