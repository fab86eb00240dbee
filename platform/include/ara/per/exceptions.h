// SPDX-License-Identifier: Apache-2.0
#ifndef ARA_PER_EXCEPTIONS_H
#define ARA_PER_EXCEPTIONS_H

#include <stdexcept>
#include <string>

namespace ara::per {

/// A call that does not fit the value or the storage: a getter of another type, a buffer of another size, a damaged
/// call order. The medium is in order.
class ExceptionLogicError : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

/// The place where the storage should be is missing or may not be entered.
class ExceptionStorageLocationNotFound : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The medium or what is written on it is at fault: full, read-only, failing, damaged, foreign, or held by another
/// process.
class ExceptionPhysicalStorageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace ara::per

#endif
