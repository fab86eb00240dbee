// SPDX-License-Identifier: Apache-2.0
#include <utility>

#include "orvel/com/runtime/instance_id.h"
#include "tarn/com/cpp_binding/proxy_base.h"
#include "tarn/com/cpp_binding/skeleton_base.h"
#include "tarn/com/runtime/component_singleton.h"
#include "tests/scripted_platform/script.h"

namespace {

/// The name of an interface without its namespaces.
std::string brief(std::string const& interface) { return interface.substr(interface.rfind(':') + 1); }

std::map<std::string, std::function<void(tarn::com::cpp_binding::Deserializer&, tarn::com::cpp_binding::Serializer&)>>
    methods;

std::string method_key(std::string const& interface, std::uint16_t id) { return interface + " " + std::to_string(id); }

}  // namespace

std::vector<std::uint8_t> script::request(std::string const& interface, std::uint16_t id) {
  std::vector<std::uint8_t> const no_meta_info(4);
  std::vector<std::uint8_t> reply;
  tarn::com::cpp_binding::Deserializer arguments(no_meta_info.data(), no_meta_info.size(), {});
  tarn::com::cpp_binding::Serializer result(reply, {});
  methods.at(method_key(interface, id))(arguments, result);
  return reply;
}

namespace orvel::com::runtime {

Instance_id::Instance_id(std::string text) : text_(std::move(text)) { script::call("com.Instance_id", text_); }

}  // namespace orvel::com::runtime

namespace tarn::com::runtime {

Component_singleton::Component_singleton(bool reserved_flag, std::string const& reserved_text) {
  script::call("com.Component_singleton", (reserved_flag ? "true, \"" : "false, \"") + reserved_text + "\"");
}
Component_singleton::~Component_singleton() { script::note("com.~Component_singleton()"); }

}  // namespace tarn::com::runtime

namespace tarn::com::cpp_binding {

class Proxy_base::Implementation {};

std::vector<Service_handle> Proxy_base::find(std::string const& interface,
                                             orvel::com::runtime::Instance_id const& instance) {
  script::call("com.FindService", brief(interface) + ", " + instance.text());
  return script::answers().offered;
}

Proxy_base::Proxy_base(std::string const& interface, Service_handle handle) {
  script::call("com.Proxy", brief(interface) + ", " + std::to_string(handle.instance));
}
Proxy_base::~Proxy_base() { script::note("com.~Proxy()"); }

std::uint16_t Proxy_base::method_id(std::string const& /*name*/) const { return 1; }

std::shared_ptr<ara::com::Future_driver_if> Proxy_base::send(std::uint16_t method,
                                                             Write_arguments const& /*write_arguments*/,
                                                             std::unique_ptr<Reply_if> reply) const {
  script::call("com.send", std::to_string(method));
  Deserializer payload(script::answers().reply.data(), script::answers().reply.size(), {});
  reply->result(payload);
  return nullptr;
}

class Skeleton_base::Implementation {
 public:
  std::string interface;
};

Skeleton_base::Skeleton_base(std::string const& interface, orvel::com::runtime::Instance_id const& instance,
                             Method_call_processing_mode mode)
    : implementation_(new Implementation{brief(interface)}) {
  script::call("com.Skeleton", implementation_->interface + ", " + instance.text() + ", mode " +
                                   std::to_string(static_cast<int>(mode)));
}
Skeleton_base::~Skeleton_base() { script::note("com.~Skeleton(" + implementation_->interface + ")"); }

std::uint16_t Skeleton_base::method_id(std::string const& /*name*/) const { return 1; }

void Skeleton_base::register_method(std::uint16_t id, Method method) {
  script::call("com.register_method", std::to_string(id));
  methods[method_key(implementation_->interface, id)] = std::move(method);
}

void Skeleton_base::OfferService() { script::call("com.OfferService", implementation_->interface); }
void Skeleton_base::StopOfferService() { script::call("com.StopOfferService", implementation_->interface); }

}  // namespace tarn::com::cpp_binding
