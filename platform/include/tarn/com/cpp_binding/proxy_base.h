// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_COM_CPP_BINDING_PROXY_BASE_H
#define TARN_COM_CPP_BINDING_PROXY_BASE_H

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "ara/com/future.h"
#include "orvel/com/runtime/instance_id.h"
#include "tarn/com/cpp_binding/deserializer.h"
#include "tarn/com/cpp_binding/reply_if.h"
#include "tarn/com/cpp_binding/serializer.h"
#include "tarn/com/cpp_binding/service_handle.h"

namespace tarn::com::cpp_binding {

/// What the proxies of all interfaces share: one remote instance of a service. A proxy of an interface derives from it
/// and offers a function for each method. Any thread may call; calls do not wait for each other.
class Proxy_base {
 public:
  Proxy_base(Proxy_base const&) = delete;
  Proxy_base& operator=(Proxy_base const&) = delete;

  /// Whether the instance is offered and a connection to it stands. Otherwise a call may take as long as it takes to
  /// make one, up to the response time limit.
  bool connected() const;

 protected:
  using Write_arguments = std::function<void(Serializer&)>;
  /// Turns an application error into an exception; null for an error that the method does not declare.
  using Application_error = std::exception_ptr (*)(std::uint8_t code, std::vector<std::uint8_t> const& payload);

  /// The instances of `interface` that are offered and meant by `instance`. Returns at once when one is known, else
  /// asks the network and returns what answered within the find window of the manifest.
  /// Errors as for the skeleton's constructor.
  static std::vector<Service_handle> find(std::string const& interface,
                                          orvel::com::runtime::Instance_id const& instance);

  /// `interface` is the name under which the machine manifest deploys the service; std::runtime_error when it does not.
  Proxy_base(std::string const& interface, Service_handle handle);
  ~Proxy_base();

  /// The id that the manifest gives the method `name`; std::runtime_error when it gives none.
  std::uint16_t method_id(std::string const& name) const;

  /// Calls a method. `read_result` reads and returns the Output; it runs on the thread that reads the reply. The future
  /// fails with Service_not_available_exception when the instance is not offered or not there, with
  /// Transport_exception when the connection or the reply is broken or no reply came within the response time limit,
  /// or with the application error. Never throws a failure of the call.
  template <typename Output, typename Read_result>
  ara::com::Future<Output> call(std::uint16_t method, Write_arguments const& write_arguments, Read_result read_result,
                                Application_error application_error) const {
    auto reply = std::make_unique<Reply<Output, Read_result>>(std::move(read_result), application_error);
    ara::com::Future<Output> future = reply->promise.get_future();
    future.set_driver(send(method, write_arguments, std::move(reply)));
    return future;
  }

 private:
  template <typename Output, typename Read_result>
  struct Reply final : Reply_if {
    Reply(Read_result read, Application_error error_of) : read_result(std::move(read)), application_error(error_of) {}

    void result(Deserializer& payload) override {
      if constexpr (std::is_void_v<Output>) {
        read_result(payload);
        promise.set_value();
      } else {
        promise.set_value(read_result(payload));
      }
    }
    bool error(std::uint8_t code, std::vector<std::uint8_t> const& payload) override {
      std::exception_ptr declared = application_error(code, payload);
      if (declared != nullptr) {
        promise.set_exception(std::move(declared));
        return true;
      }
      return false;
    }
    void failure(std::exception_ptr error) override { promise.set_exception(std::move(error)); }

    Read_result read_result;
    Application_error application_error;
    ara::com::Promise<Output> promise;
  };

  /// Sends the request; the result drives the waiting thread, null when the request has ended already.
  std::shared_ptr<ara::com::Future_driver_if> send(std::uint16_t method, Write_arguments const& write_arguments,
                                                   std::unique_ptr<Reply_if> reply) const;

  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace tarn::com::cpp_binding

#endif
