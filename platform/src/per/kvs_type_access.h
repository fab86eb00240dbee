// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_KVS_TYPE_ACCESS_H
#define PLATFORM_SRC_PER_KVS_TYPE_ACCESS_H

#include <utility>

#include "ara/per/kvs_type.h"

namespace ara::per {

/// The store's way into a value: what its type is, and making one from what was stored.
class Kvs_type_access {
 public:
  using Content = KvsType::Content;
  using Damage = KvsType::Damage;

  static Content const& content(KvsType const& value) noexcept { return value.content_; }
  static KvsType make(Content content) noexcept { return KvsType(std::move(content)); }
};

}  // namespace ara::per

#endif
