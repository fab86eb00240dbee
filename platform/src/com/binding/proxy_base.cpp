// SPDX-License-Identifier: Apache-2.0
#include "tarn/com/cpp_binding/proxy_base.h"

#include "platform/src/com/binding/instance_number.h"
#include "platform/src/com/binding/method_id.h"
#include "platform/src/com/runtime/process_runtime.h"

namespace tarn::com::cpp_binding {

namespace com = linux_platform::com;

class Proxy_base::Implementation final {
 public:
  Implementation(std::string const& interface, Service_handle peer)
      : runtime(com::Process_runtime::get()), deployment(runtime->deployment(interface)), handle(peer) {}

  std::shared_ptr<com::Runtime> const runtime;
  std::shared_ptr<com::Service_deployment const> const deployment;
  Service_handle const handle;
};

std::vector<Service_handle> Proxy_base::find(std::string const& interface,
                                             orvel::com::runtime::Instance_id const& instance) {
  auto const runtime = com::Process_runtime::get();
  auto const deployment = runtime->deployment(interface);
  std::vector<Service_handle> handles;
  for (std::uint16_t const number : runtime->find(*deployment, com::instance_number(instance.text(), *deployment))) {
    handles.push_back({number});
  }
  return handles;
}

Proxy_base::Proxy_base(std::string const& interface, Service_handle handle)
    : implementation_(std::make_unique<Implementation>(interface, handle)) {}

Proxy_base::~Proxy_base() = default;

bool Proxy_base::connected() const {
  return implementation_->runtime->connected(*implementation_->deployment, implementation_->handle.instance);
}

std::uint16_t Proxy_base::method_id(std::string const& name) const {
  return com::method_id(*implementation_->deployment, name);
}

std::shared_ptr<ara::com::Future_driver_if> Proxy_base::send(std::uint16_t method,
                                                             Write_arguments const& write_arguments,
                                                             std::unique_ptr<Reply_if> reply) const {
  return implementation_->runtime->call(implementation_->deployment, implementation_->handle.instance, method,
                                        write_arguments, std::move(reply));
}

}  // namespace tarn::com::cpp_binding
