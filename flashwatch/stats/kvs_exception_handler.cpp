// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/stats/kvs_exception_handler.h"

#include "ara/log/logging.h"
#include "ara/per/exceptions.h"

namespace orvel::flashwatch::diagnostics {

void handle_kvs_exception(std::exception_ptr const& error) noexcept {
  using ara::log::LogWarn;
  try {
    std::rethrow_exception(error);
  } catch (ara::per::ExceptionLogicError const& caught) {
    LogWarn() << "ExceptionLogicError:" << caught.what() << "caught";
  } catch (ara::per::ExceptionStorageLocationNotFound const& caught) {
    LogWarn() << "ExceptionStorageLocationNotFound:" << caught.what() << "caught";
  } catch (ara::per::ExceptionPhysicalStorageError const& caught) {
    LogWarn() << "ExceptionPhysicalStorageError:" << caught.what() << "caught";
  } catch (std::exception const& caught) {
    LogWarn() << "Exception:" << caught.what() << "caught at KVS access";
  } catch (...) {
    LogWarn() << "Unknown exception caught at KVS access";
  }
}

}  // namespace orvel::flashwatch::diagnostics
