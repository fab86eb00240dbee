// SPDX-License-Identifier: Apache-2.0
#include "halden/services/diag/meta_info.h"

#include <utility>

namespace halden::services::diag {

Meta_info read_meta_info(tarn::com::cpp_binding::Deserializer& in) {
  Meta_info meta_info;
  in.read_array([&] {
    std::string key = in.read_string();
    std::string value = in.read_string();
    meta_info.insert_or_assign(std::move(key), std::move(value));
  });
  return meta_info;
}

void write_meta_info(tarn::com::cpp_binding::Serializer& out, Meta_info const& meta_info) {
  out.write_array([&] {
    for (auto const& [key, value] : meta_info) {
      out.write_string(key);
      out.write_string(value);
    }
  });
}

}  // namespace halden::services::diag
