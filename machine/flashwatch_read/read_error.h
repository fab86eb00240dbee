// SPDX-License-Identifier: Apache-2.0
#ifndef MACHINE_FLASHWATCH_READ_READ_ERROR_H
#define MACHINE_FLASHWATCH_READ_READ_ERROR_H

#include <stdexcept>

namespace flashwatch_read {

/// The figures could not be read. The text is one line: what was being done, on what, and what was wrong.
class Read_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The person at the terminal asked to stop while something was being waited for.
class Stop_requested : public std::exception {
 public:
  char const* what() const noexcept override { return "stopped"; }
};

}  // namespace flashwatch_read

#endif
