// SPDX-License-Identifier: Apache-2.0
// Boost.Asio, compiled once for everything that uses it.
#include <boost/asio/impl/src.hpp>
