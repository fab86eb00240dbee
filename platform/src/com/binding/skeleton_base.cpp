// SPDX-License-Identifier: Apache-2.0
#include "tarn/com/cpp_binding/skeleton_base.h"

#include <exception>
#include <mutex>
#include <string>
#include <utility>

#include "platform/src/com/binding/instance_number.h"
#include "platform/src/com/binding/method_id.h"
#include "platform/src/com/runtime/comm_log.h"
#include "platform/src/com/runtime/offered_service.h"
#include "platform/src/com/runtime/process_runtime.h"
#include "tarn/com/exceptions.h"

namespace tarn::com::cpp_binding {

namespace com = linux_platform::com;

class Skeleton_base::Implementation final {
 public:
  Implementation(std::string const& interface, std::string const& instance)
      : runtime_(com::Process_runtime::get()),
        deployment_(runtime_->deployment(interface)),
        service_(std::make_shared<com::Offered_service>(deployment_, com::deployed_instance(instance, *deployment_))) {}

  com::Service_deployment const& deployment() const noexcept { return *deployment_; }
  com::Offered_service& service() noexcept { return *service_; }

  void offer() {
    std::lock_guard<std::mutex> const lock(mutex_);
    if (!offered_) {
      runtime_->offer(service_);
      offered_ = true;
    }
  }

  void withdraw() {
    std::lock_guard<std::mutex> const lock(mutex_);
    if (std::exchange(offered_, false)) {
      runtime_->withdraw(*service_);
    }
  }

 private:
  std::shared_ptr<com::Runtime> const runtime_;
  std::shared_ptr<com::Service_deployment const> const deployment_;
  std::shared_ptr<com::Offered_service> const service_;

  std::mutex mutex_;  ///< guards what follows
  bool offered_ = false;
};

Skeleton_base::Skeleton_base(std::string const& interface, orvel::com::runtime::Instance_id const& instance,
                             Method_call_processing_mode mode) {
  if (mode != Method_call_processing_mode::kEvent) {
    throw Invalid_argument_exception("method call processing mode " + std::to_string(static_cast<unsigned>(mode)) +
                                     " of " + interface + " is not available on this platform, only mode 1 is");
  }
  implementation_ = std::make_unique<Implementation>(interface, instance.text());
}

Skeleton_base::~Skeleton_base() {
  try {
    implementation_->withdraw();
  } catch (std::exception const& error) {
    com::comm_log().LogWarn() << "Withdrawing" << implementation_->deployment().interface << "failed:" << error.what();
  }
}

void Skeleton_base::OfferService() { implementation_->offer(); }

void Skeleton_base::StopOfferService() { implementation_->withdraw(); }

std::uint16_t Skeleton_base::method_id(std::string const& name) const {
  return com::method_id(implementation_->deployment(), name);
}

void Skeleton_base::register_method(std::uint16_t id, Method method) {
  implementation_->service().add_method(id, std::move(method));
}

}  // namespace tarn::com::cpp_binding
