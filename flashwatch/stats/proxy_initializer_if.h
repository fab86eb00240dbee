// SPDX-License-Identifier: Apache-2.0
#ifndef FLASHWATCH_STATS_PROXY_INITIALIZER_IF_H
#define FLASHWATCH_STATS_PROXY_INITIALIZER_IF_H

namespace orvel::flashwatch {

class Proxy_initializer_if {
 public:
  virtual ~Proxy_initializer_if() = default;
  Proxy_initializer_if(Proxy_initializer_if const&) = delete;
  Proxy_initializer_if& operator=(Proxy_initializer_if const&) = delete;

  /// Blocks until the statistics service is found or a stop is requested. Called once, from the main thread.
  virtual void init_proxy() = 0;

 protected:
  Proxy_initializer_if() = default;
};

}  // namespace orvel::flashwatch

#endif
