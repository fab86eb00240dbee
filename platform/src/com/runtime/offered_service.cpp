// SPDX-License-Identifier: Apache-2.0
#include "platform/src/com/runtime/offered_service.h"

#include "platform/src/com/message/outcome.h"
#include "platform/src/com/message/request_check.h"
#include "tarn/com/cpp_binding/application_error_exception.h"

namespace linux_platform::com {

/// One call inside the service.
class Offered_service::Visit final {
 public:
  explicit Visit(Offered_service& service) : service_(service) {
    std::lock_guard<std::mutex> const lock(service_.mutex_);
    admitted_ = service_.open_;
    service_.inside_ += admitted_ ? 1 : 0;
  }
  ~Visit() {
    if (admitted_) {
      std::lock_guard<std::mutex> const lock(service_.mutex_);
      if (--service_.inside_ == 0 && !service_.open_) {
        service_.left_.notify_all();
      }
    }
  }
  Visit(Visit const&) = delete;
  Visit& operator=(Visit const&) = delete;

  bool admitted() const noexcept { return admitted_; }

 private:
  Offered_service& service_;
  bool admitted_ = false;
};

void Offered_service::open() {
  std::lock_guard<std::mutex> const lock(mutex_);
  open_ = true;
}

void Offered_service::close() {
  std::unique_lock<std::mutex> lock(mutex_);
  open_ = false;
  left_.wait(lock, [this] { return inside_ == 0; });
}

bool Offered_service::run(Workspace& workspace, std::size_t message_limit) {
  Visit const visit(*this);
  if (!visit.admitted()) {
    return false;
  }
  Header const& request = workspace.header;
  std::vector<std::uint8_t>& answer = workspace.answer;
  Header header = run_method(workspace);
  // What already carries an error is not answered with another.
  if (header.code == Return_code::malformed_message && request.code != Return_code::ok) {
    answer.clear();
    return true;
  }
  if (answer.size() > message_limit) {
    answer.resize(Header::size);
    header = reply_header(request, Message_type::error, Return_code::not_ok);
  }
  write_header(answer.data(), header, static_cast<std::uint32_t>(answer.size() - Header::size));
  return true;
}

Header Offered_service::run_method(Workspace& workspace) const {
  using tarn::com::cpp_binding::Application_error_exception;
  Header const& request = workspace.header;
  std::vector<std::uint8_t> const& payload = workspace.payload;
  std::vector<std::uint8_t>& answer = workspace.answer;
  answer.resize(Header::size);
  tarn::com::cpp_binding::Deserializer arguments(payload.data(), payload.size(), deployment_->format);
  tarn::com::cpp_binding::Serializer result(answer, deployment_->format);
  try {
    workspace.output = methods_.at(request.method)(arguments, result);
    return reply_header(request, Message_type::response, Return_code::ok);
  } catch (Application_error_exception const& error) {
    answer.resize(Header::size);
    Reply_code const reply = application_error_reply(error.error_code());
    if (reply.code != Return_code::not_ok) {
      error.serialize(answer);
    }
    return reply_header(request, reply.type, reply.code);
  } catch (...) {
    answer.resize(Header::size);
    return reply_header(request, Message_type::error,
                        arguments.failed() ? Return_code::malformed_message : Return_code::not_ok);
  }
}

}  // namespace linux_platform::com
