// SPDX-License-Identifier: Apache-2.0
#ifndef HALDEN_SERVICES_DIAG_META_INFO_H
#define HALDEN_SERVICES_DIAG_META_INFO_H

#include <map>
#include <string>

#include "tarn/com/cpp_binding/deserializer.h"
#include "tarn/com/cpp_binding/serializer.h"

namespace halden::services::diag {

/// What the diagnostic manager tells a data identifier service about a request.
using Meta_info = std::map<std::string, std::string>;

/// Of two entries with one key the last counts. Throws what Deserializer throws.
Meta_info read_meta_info(tarn::com::cpp_binding::Deserializer& in);
void write_meta_info(tarn::com::cpp_binding::Serializer& out, Meta_info const& meta_info);

}  // namespace halden::services::diag

#endif
