// SPDX-License-Identifier: Apache-2.0
#ifndef ORVEL_PERSISTENCY_STATISTICS_H
#define ORVEL_PERSISTENCY_STATISTICS_H

#include <map>
#include <string>

#include "orvel/persistency/kvs_io_stat.h"
#include "tarn/com/cpp_binding/deserializer.h"
#include "tarn/com/cpp_binding/serializer.h"

namespace orvel::persistency {

/// The interface of the platform's persistency statistics service.
struct statistics {
  static constexpr char const* name = "orvel::persistency::statistics";

  /// No arguments; one declared result, no application errors.
  struct get_KVS_statistics {
    static constexpr char const* name = "get_KVS_statistics";
    /// The key of each entry is expected to be its application id.
    using Output = std::map<std::string, KVS_io_stat>;
  };
};

/// The result on the wire: a record holding the map. Of two entries with one key the last counts. Throws what
/// Deserializer throws.
statistics::get_KVS_statistics::Output read_kvs_statistics(tarn::com::cpp_binding::Deserializer& in);
void write_kvs_statistics(tarn::com::cpp_binding::Serializer& out,
                          statistics::get_KVS_statistics::Output const& output);

}  // namespace orvel::persistency

#endif
