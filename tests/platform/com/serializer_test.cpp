// SPDX-License-Identifier: Apache-2.0
// Values to bytes and back, and every complaint with its exact text and type.
#include "tarn/com/cpp_binding/serializer.h"

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tarn/com/cpp_binding/deserializer.h"
#include "tests/platform/com/hex.h"

namespace {

using tarn::com::cpp_binding::Deserializer;
using tarn::com::cpp_binding::Serializer;
using tarn::com::cpp_binding::String_encoding;
using tarn::com::cpp_binding::Wire_format;
using Bytes = std::vector<std::uint8_t>;

constexpr char const* beyond_end = "Read beyond the end of the data buffer";
constexpr char const* invalid_end = "Deserialization calculated invalid end position.";
constexpr char const* invalid_length_field = "Invalid value for length field size.";
constexpr char const* too_small =
    "Violation of [PRS_SOMEIP_00900]: Record length given by sender is too small. This is possibly due to a mismatch "
    "between the data models of sender and receiver.";
constexpr char const* smaller_than_expected =
    "Violation of [PRS_SOMEIP_00900]: Record length provided by sender is smaller than expected. This is possibly due "
    "to a mismatch between the data models of sender and receiver.";
constexpr char const* does_not_fit = "Calculated record length does not fit into configured length field";
constexpr char const* vector_without_length =
    "Vectors must have a length field that deserializer can also deserialize it. Violation of PRS_SOMEIP_00376 & "
    "PRS_SOMEIP_00107!";

Wire_format plain(std::size_t string = 4, std::size_t array = 4, std::size_t record = 4) {
  return {String_encoding::plain, string, array, record};
}

using Write = std::function<void(Serializer&)>;
using Read = std::function<void(Deserializer&)>;

TEST(Values, AreTheseBytesAndComeBackAndMissNoByte) {
  auto const text = [](std::string const& value) {
    return std::pair<Write, Read>([=](Serializer& out) { out.write_string(value); },
                                  [=](Deserializer& in) { EXPECT_EQ(in.read_string(), value); });
  };
  auto const records = [](Serializer& out) {
    out.write_record([&] { out.write_u16(0x0102); });
    out.write_record([&] { out.write_u64(0x08090A0B0C0D0E0F); });
  };
  auto const read_records = [](Deserializer& in) {
    in.read_record([&] { EXPECT_EQ(in.read_u16(), 0x0102U); });
    in.read_record([&] { EXPECT_EQ(in.read_u64(), 0x08090A0B0C0D0E0FU); });
  };
  auto const array = [](Serializer& out) { out.write_array([&] { out.write_bytes({7, 8}); }); };
  auto const read_array = [](Deserializer& in) { in.read_array([&] { EXPECT_EQ(in.read_bytes(), (Bytes{7, 8})); }); };
  struct Row {
    char const* hex;
    Wire_format format;
    std::pair<Write, Read> value;
  };
  for (Row const& row : {
           Row{"00000006 EFBBBF 4142 00", {}, text("AB")},
           Row{"00000004 EFBBBF 00", {}, text("")},
           Row{"09 C3A4 E282AC F09F9880", plain(1), text("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80")},
           Row{"00000002 0102 00000008 08090A0B0C0D0E0F", {}, {records, read_records}},
           Row{"0102 08090A0B0C0D0E0F", plain(4, 4, 0), {records, read_records}},
           Row{"00000006 00000002 0708", {}, {array, read_array}},
           Row{"0004 0002 0708", plain(4, 2), {array, read_array}},
       }) {
    Bytes written;
    Serializer out(written, row.format);
    row.value.first(out);
    EXPECT_EQ(written, bytes_of(row.hex));
    Deserializer in(written.data(), written.size(), row.format);
    row.value.second(in);
    EXPECT_FALSE(in.failed());
    for (std::size_t size = 0; size < written.size(); ++size) {
      Deserializer cut(written.data(), size, row.format);
      EXPECT_THROW(row.value.second(cut), std::out_of_range) << row.hex << " cut at " << size;
      EXPECT_TRUE(cut.failed());
    }
  }
}

TEST(ADeserializer, SkipsWhatANewerSenderAppended) {
  Bytes const bytes = bytes_of("00 00 00 03 11 22 33 44");
  Deserializer in(bytes.data(), bytes.size(), {});
  in.read_record([&] { EXPECT_EQ(in.read_u8(), 0x11); });
  EXPECT_EQ(in.read_u8(), 0x44);
}

TEST(ADeserializer, ForPlainTextsUnderstandsMarkedAndTerminatedOnes) {
  Bytes const bytes = bytes_of("00 00 00 05 EF BB BF 41 00 00 00 00 01 42");
  Deserializer in(bytes.data(), bytes.size(), plain());
  EXPECT_EQ(in.read_string(), "A");
  EXPECT_EQ(in.read_string(), "B");
}

struct Complaint {
  char const* hex;
  Wire_format format;
  Read read;
  std::type_info const& type;
  char const* text;
};

void expect_complaint(std::function<void()> const& act, std::type_info const& type, char const* text) {
  try {
    act();
    ADD_FAILURE() << "no " << text;
  } catch (std::exception const& error) {
    EXPECT_STREQ(error.what(), text);
    EXPECT_TRUE(typeid(error) == type) << text;
  }
}

TEST(ADeserializer, ComplainsWithTheAgreedTexts) {
  auto const record = [](Deserializer& in) { in.read_record([&] { in.read_u16(); }); };
  auto const text = [](Deserializer& in) { in.read_string(); };
  auto const numbers = [](Deserializer& in) { in.read_array([&] { in.read_u32(); }); };
  auto const* const no_mark = "String has no byte order mark or no terminating zero.";
  for (Complaint const& row : {
           Complaint{"000000", {}, record, typeid(std::out_of_range), beyond_end},
           Complaint{"00000000", {}, record, typeid(std::out_of_range), smaller_than_expected},
           Complaint{"00000003 1122", {}, record, typeid(std::out_of_range), invalid_end},
           Complaint{"FFFFFFFF 1122", {}, record, typeid(std::out_of_range), invalid_end},
           Complaint{"00000001 1122", {}, record, typeid(std::out_of_range), too_small},
           Complaint{"00000005 0102030405060708", {}, numbers, typeid(std::out_of_range), too_small},
           Complaint{"00000002", plain(4, 4, 3), record, typeid(std::invalid_argument), invalid_length_field},
           Complaint{"00000002", plain(0), text, typeid(std::invalid_argument), invalid_length_field},
           Complaint{"00000002 4100", {}, text, typeid(std::invalid_argument), no_mark},
           Complaint{"00000004 EFBBBF41", {}, text, typeid(std::invalid_argument), no_mark},
           Complaint{"00000000", {}, text, typeid(std::invalid_argument), no_mark},
       }) {
    Bytes const bytes = bytes_of(row.hex);
    Deserializer in(bytes.data(), bytes.size(), row.format);
    expect_complaint([&] { row.read(in); }, row.type, row.text);
    EXPECT_TRUE(in.failed()) << row.hex;
  }
}

TEST(ADeserializer, RefusesWhatIsNotUtf8) {
  for (char const* hex : {"02 C0 80", "02 C3 28", "01 80", "01 C3", "03 E0 80 80", "03 ED A0 80", "02 E2 82",
                          "04 F0 80 80 80", "04 F4 90 80 80", "04 F8 88 80 80", "04 F0 9F 98 28"}) {
    Bytes const bytes = bytes_of(hex);
    Deserializer in(bytes.data(), bytes.size(), plain(1));
    EXPECT_THROW(in.read_string(), std::invalid_argument) << hex;
  }
}

TEST(ASerializer, ComplainsWithTheAgreedTexts) {
  Bytes bytes;
  auto const vector_of = [&](std::size_t size, Wire_format const& format) {
    return [&bytes, size, format] { Serializer(bytes, format).write_bytes(Bytes(size)); };
  };
  expect_complaint(vector_of(256, plain(4, 1)), typeid(std::overflow_error), does_not_fit);
  expect_complaint(vector_of(65536, plain(4, 2)), typeid(std::overflow_error), does_not_fit);
  expect_complaint([&] { Serializer(bytes, plain(1)).write_string(std::string(256, 'x')); },
                   typeid(std::overflow_error), does_not_fit);
  expect_complaint(vector_of(1, plain(4, 0)), typeid(std::invalid_argument), vector_without_length);
  expect_complaint(vector_of(1, plain(4, 3)), typeid(std::invalid_argument), invalid_length_field);
  bytes.clear();
  vector_of(255, plain(4, 1))();
  EXPECT_EQ(bytes.size(), 256U);
}

}  // namespace
