// SPDX-License-Identifier: Apache-2.0
#include "orvel/persistency/statistics.h"

#include <utility>

namespace orvel::persistency {
namespace {

// One list of the numbers in the order of the wire, for reading and writing alike.
template <typename Stat, typename Visit>
void for_each_number(Stat& stat, Visit&& visit) {
  visit(stat.session_read);
  visit(stat.session_write);
  visit(stat.session_setvalue);
  visit(stat.total_read);
  visit(stat.total_write);
  visit(stat.total_setvalue);
  visit(stat.soft_limit);
  visit(stat.hard_limit);
}

void read_stat(tarn::com::cpp_binding::Deserializer& in, KVS_io_stat& stat) {
  in.read_record([&] {
    stat.application_id = in.read_string();
    for_each_number(stat, [&](std::uint64_t& number) { number = in.read_u64(); });
  });
}

void write_stat(tarn::com::cpp_binding::Serializer& out, KVS_io_stat const& stat) {
  out.write_record([&] {
    out.write_string(stat.application_id);
    for_each_number(stat, [&](std::uint64_t const& number) { out.write_u64(number); });
  });
}

}  // namespace

statistics::get_KVS_statistics::Output read_kvs_statistics(tarn::com::cpp_binding::Deserializer& in) {
  statistics::get_KVS_statistics::Output output;
  in.read_record([&] {
    in.read_array([&] {
      std::string key = in.read_string();
      // The sender's map is ordered, so the new entry nearly always belongs at the end.
      read_stat(in, output.emplace_hint(output.end(), std::move(key), KVS_io_stat{})->second);
    });
  });
  return output;
}

void write_kvs_statistics(tarn::com::cpp_binding::Serializer& out,
                          statistics::get_KVS_statistics::Output const& output) {
  out.write_record([&] {
    out.write_array([&] {
      for (auto const& [key, stat] : output) {
        out.write_string(key);
        write_stat(out, stat);
      }
    });
  });
}

}  // namespace orvel::persistency
