// SPDX-License-Identifier: Apache-2.0
#ifndef TARN_COM_CPP_BINDING_SKELETON_BASE_H
#define TARN_COM_CPP_BINDING_SKELETON_BASE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "ara/com/future.h"
#include "orvel/com/runtime/instance_id.h"
#include "tarn/com/cpp_binding/deserializer.h"
#include "tarn/com/cpp_binding/serializer.h"
#include "tarn/com/method_call_processing_mode.h"

namespace tarn::com::cpp_binding {

/// What the skeletons of all interfaces share: one instance of a service, offered on the network. A skeleton of an
/// interface derives from it, registers its methods, and hands each call to a pure virtual function.
class Skeleton_base {
 public:
  Skeleton_base(Skeleton_base const&) = delete;
  Skeleton_base& operator=(Skeleton_base const&) = delete;

  /// Accepts calls from now on and announces the instance. Offering what is offered changes nothing.
  /// std::runtime_error naming service, address and port when the port cannot be had.
  void OfferService();

  /// Takes the announcement back, then waits for the calls that are running; none starts afterwards. Not to be called
  /// from a method of the skeleton itself. To be called before the derived object's destruction begins.
  void StopOfferService();

 protected:
  /// Runs one call: reads the arguments, runs the method and writes its result. An exception thrown by the
  /// deserializer is answered as a malformed message, an Application_error_exception as itself, any other as E_NOT_OK.
  /// Runs on threads of the runtime, several at a time.
  ///
  /// What it returns is let go of when the answer is out, so that the caller does not wait while a large output is
  /// taken down; that may be after the end of the skeleton. Null when there is nothing worth it.
  using Method = std::function<std::shared_ptr<void const>(Deserializer& arguments, Serializer& result)>;

  /// `interface` is the name under which the machine manifest deploys the service, such as "a::b::Interface".
  ///
  /// Invalid_argument_exception when the manifest deploys no such instance of it (logged before it is thrown) or the
  /// mode is not kEvent; std::runtime_error when the manifest does not deploy the interface.
  Skeleton_base(std::string const& interface, orvel::com::runtime::Instance_id const& instance,
                Method_call_processing_mode mode);
  /// Withdraws what is still offered.
  ~Skeleton_base();

  /// Waits for the output of a method and writes it with `write`. Gives what the Method is to return.
  template <typename Output, typename Write>
  static std::shared_ptr<Output const> answer(ara::com::Future<Output> output, Serializer& result, Write write) {
    auto held = std::make_shared<Output const>(output.get());
    write(result, *held);
    return held;
  }

  /// The id that the manifest gives the method `name`; std::runtime_error when it gives none.
  std::uint16_t method_id(std::string const& name) const;

  /// Makes `method` answer the calls of `id`. All methods are registered before the first offer.
  void register_method(std::uint16_t id, Method method);

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace tarn::com::cpp_binding

#endif
