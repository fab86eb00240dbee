// SPDX-License-Identifier: Apache-2.0
// Values to bytes and back, and every complaint with its exact text and type.
#include "tarn/com/cpp_binding/serializer.h"

#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include <boost/core/demangle.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tarn/com/cpp_binding/deserializer.h"
#include "tests/platform/com/hex.h"

namespace {

using nlohmann::json;
using tarn::com::cpp_binding::Deserializer;
using tarn::com::cpp_binding::Serializer;
using tarn::com::cpp_binding::String_encoding;
using tarn::com::cpp_binding::Wire_format;
using Bytes = std::vector<std::uint8_t>;

json const rows = json::parse(std::ifstream(SERIALIZED));

Wire_format format_of(json const& row) {
  return {row.value("plain", false) ? String_encoding::plain : String_encoding::utf8_bom, row.value("strings", 4U),
          row.value("arrays", 4U), row.value("records", 4U)};
}

/// A text, an array with bytes in it, or two records.
void write(Serializer& out, json const& value) {
  if (value.is_string()) {
    out.write_string(value.get_ref<std::string const&>());
  } else if (value.is_array()) {
    out.write_array([&] { out.write_bytes(value); });
  } else {
    out.write_record([&] { out.write_u16(value.at("u16")); });
    out.write_record([&] { out.write_u64(value.at("u64")); });
  }
}

/// A value of the same kind as `like`.
json read(Deserializer& in, json const& like) {
  json value;
  if (like.is_string()) {
    value = in.read_string();
  } else if (like.is_array()) {
    in.read_array([&] { value = in.read_bytes(); });
  } else {
    in.read_record([&] { value["u16"] = in.read_u16(); });
    in.read_record([&] { value["u64"] = in.read_u64(); });
  }
  return value;
}

template <typename Action>
std::string complaint_about(Action const& action) {
  try {
    action();
  } catch (std::exception const& error) {
    return boost::core::demangle(typeid(error).name()) + ": " + error.what();
  }
  return {};
}

TEST(Values, AreTheseBytesAndComeBackAndMissNoByte) {
  for (auto const& row : rows.at("values")) {
    auto const& value = row.at("value");
    Bytes written;
    Serializer out(written, format_of(row));
    write(out, value);
    EXPECT_EQ(written, bytes_of(row.at("bytes")));
    Deserializer in(written.data(), written.size(), format_of(row));
    EXPECT_EQ(read(in, value), value);
    EXPECT_FALSE(in.failed());
    for (std::size_t size = 0; size < written.size(); ++size) {
      Deserializer cut(written.data(), size, format_of(row));
      EXPECT_THROW(read(cut, value), std::out_of_range) << row << " cut at " << size;
      EXPECT_TRUE(cut.failed());
    }
  }
}

TEST(ADeserializer, UnderstandsWhatOtherSendersWrite) {
  for (auto const& row : rows.at("of_others")) {
    Bytes const bytes = bytes_of(row.at("bytes"));
    Deserializer in(bytes.data(), bytes.size(), format_of(row));
    EXPECT_EQ(read(in, row.at("value")), row.at("value")) << row;
  }
}

TEST(ADeserializer, ComplainsWithTheAgreedTexts) {
  for (auto const& row : rows.at("complaints")) {
    Bytes const bytes = bytes_of(row.at("bytes"));
    Deserializer in(bytes.data(), bytes.size(), format_of(row));
    EXPECT_EQ(complaint_about([&] { read(in, row.at("like")); }), row.at("complaint")) << row;
    EXPECT_TRUE(in.failed()) << row;
  }
}

TEST(ASerializer, ComplainsWithTheAgreedTexts) {
  for (auto const& row : rows.at("lengths")) {
    Bytes bytes;
    Serializer out(bytes, format_of(row));
    std::size_t const size = row.at("size");
    auto const write_it = [&] {
      row.at("of") == "text" ? out.write_string(std::string(size, 'x')) : out.write_bytes(Bytes(size));
    };
    EXPECT_EQ(complaint_about(write_it), row.at("complaint")) << row;
  }
}

}  // namespace
