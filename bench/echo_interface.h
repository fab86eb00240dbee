// SPDX-License-Identifier: Apache-2.0
#ifndef BENCH_ECHO_INTERFACE_H
#define BENCH_ECHO_INTERFACE_H

#include <utility>
#include <vector>

#include "ara/com/future.h"
#include "tarn/com/cpp_binding/proxy_base.h"
#include "tarn/com/cpp_binding/skeleton_base.h"

namespace bench {

/// A service with one method, which returns its argument.
struct Echo {
  static constexpr char const* name = "bench::Echo";
  static constexpr char const* method = "echo";
  using Bytes = std::vector<std::uint8_t>;
};

class Echo_skeleton final : public tarn::com::cpp_binding::Skeleton_base {
 public:
  explicit Echo_skeleton(orvel::com::runtime::Instance_id const& instance)
      : Skeleton_base(Echo::name, instance, tarn::com::Method_call_processing_mode::kEvent) {
    register_method(method_id(Echo::method),
                    [](tarn::com::cpp_binding::Deserializer& arguments, tarn::com::cpp_binding::Serializer& result) {
                      result.write_bytes(arguments.read_bytes());
                      return nullptr;
                    });
  }
  ~Echo_skeleton() { StopOfferService(); }
};

class Echo_proxy final : private tarn::com::cpp_binding::Proxy_base {
 public:
  /// std::runtime_error when nobody offers the service.
  explicit Echo_proxy(orvel::com::runtime::Instance_id const& instance)
      : Proxy_base(Echo::name, found(instance)), echo_id_(method_id(Echo::method)) {}

  ara::com::Future<Echo::Bytes> echo(Echo::Bytes const& bytes) const {
    using namespace tarn::com::cpp_binding;
    return call<Echo::Bytes>(
        echo_id_, [&bytes](Serializer& out) { out.write_bytes(bytes); },
        [](Deserializer& in) { return in.read_bytes(); },
        [](std::uint8_t, std::vector<std::uint8_t> const&) { return std::exception_ptr(); });
  }

 private:
  static tarn::com::cpp_binding::Service_handle found(orvel::com::runtime::Instance_id const& instance) {
    auto const handles = find(Echo::name, instance);
    if (handles.empty()) {
      throw std::runtime_error("nobody offers bench::Echo");
    }
    return handles.front();
  }

  std::uint16_t const echo_id_;
};

}  // namespace bench

#endif
