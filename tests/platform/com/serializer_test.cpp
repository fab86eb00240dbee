// SPDX-License-Identifier: Apache-2.0
// Values to bytes and back, and every complaint with its exact text and type.
#include "tarn/com/cpp_binding/serializer.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include "tarn/com/cpp_binding/deserializer.h"
#include "tests/platform/com/discovery/hex.h"

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

struct Case {
  char const* name;
  Wire_format format;
  std::function<void(Serializer&)> write;
  std::function<void(Deserializer&)> read_and_check;
  char const* hex;
};

void PrintTo(Case const& row, std::ostream* out) { *out << row.name; }

class Values : public testing::TestWithParam<Case> {};

TEST_P(Values, AreTheseBytesAndComeBackAndMissNoByte) {
  Bytes written;
  Serializer out(written, GetParam().format);
  GetParam().write(out);
  EXPECT_EQ(written, bytes_of(GetParam().hex));

  Deserializer in(written.data(), written.size(), GetParam().format);
  GetParam().read_and_check(in);
  EXPECT_FALSE(in.failed());

  for (std::size_t size = 0; size < written.size(); ++size) {
    Bytes const cut(written.begin(), written.begin() + static_cast<std::ptrdiff_t>(size));
    Deserializer from_cut(cut.data(), cut.size(), GetParam().format);
    EXPECT_THROW(GetParam().read_and_check(from_cut), std::out_of_range) << "cut at " << size;
    EXPECT_TRUE(from_cut.failed());
  }
}

INSTANTIATE_TEST_SUITE_P(
    , Values,
    testing::Values(Case{"numbers",
                         {},
                         [](Serializer& out) {
                           out.write_u8(0x01);
                           out.write_u16(0x0203);
                           out.write_u32(0x04050607);
                           out.write_u64(0x08090A0B0C0D0E0F);
                         },
                         [](Deserializer& in) {
                           EXPECT_EQ(in.read_u8(), 0x01);
                           EXPECT_EQ(in.read_u16(), 0x0203);
                           EXPECT_EQ(in.read_u32(), 0x04050607U);
                           EXPECT_EQ(in.read_u64(), 0x08090A0B0C0D0E0FU);
                         },
                         "01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F"},
                    Case{"text with mark and terminator",
                         {},
                         [](Serializer& out) { out.write_string("AB"); },
                         [](Deserializer& in) { EXPECT_EQ(in.read_string(), "AB"); },
                         "00 00 00 06 EF BB BF 41 42 00"},
                    Case{"empty text with mark and terminator",
                         {},
                         [](Serializer& out) { out.write_string(""); },
                         [](Deserializer& in) { EXPECT_EQ(in.read_string(), ""); },
                         "00 00 00 04 EF BB BF 00"},
                    Case{"plain text of two, three and four byte characters, one byte of length", plain(1),
                         [](Serializer& out) { out.write_string("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"); },
                         [](Deserializer& in) { EXPECT_EQ(in.read_string(), "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"); },
                         "09 C3 A4 E2 82 AC F0 9F 98 80"},
                    Case{"bytes behind two bytes of length", plain(4, 2),
                         [](Serializer& out) {
                           out.write_bytes({7, 8});
                         },
                         [](Deserializer& in) {
                           EXPECT_EQ(in.read_bytes(), (Bytes{7, 8}));
                         },
                         "00 02 07 08"},
                    Case{"array of records",
                         {},
                         [](Serializer& out) {
                           out.write_array([&] {
                             out.write_record([&] { out.write_u8(1); });
                             out.write_record([&] { out.write_u8(2); });
                           });
                         },
                         [](Deserializer& in) {
                           Bytes elements;
                           in.read_array([&] { in.read_record([&] { elements.push_back(in.read_u8()); }); });
                           EXPECT_EQ(elements, (Bytes{1, 2}));
                         },
                         "00 00 00 0A 00 00 00 01 01 00 00 00 01 02"},
                    Case{"record without a length field", plain(4, 4, 0),
                         [](Serializer& out) { out.write_record([&] { out.write_u8(5); }); },
                         [](Deserializer& in) { in.read_record([&] { EXPECT_EQ(in.read_u8(), 5); }); }, "05"}),
    [](auto const& test) { return "Row" + std::to_string(test.index); });

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
  std::function<void(Deserializer&)> read;
  std::type_info const& type;
  char const* text;
};

TEST(ADeserializer, ComplainsWithTheAgreedTexts) {
  auto const record_of_two = [](Deserializer& in) { in.read_record([&] { in.read_u16(); }); };
  auto const text = [](Deserializer& in) { in.read_string(); };
  auto const numbers = [](Deserializer& in) { in.read_array([&] { in.read_u32(); }); };
  std::vector<Complaint> const table{
      {"00 00 00", {}, record_of_two, typeid(std::out_of_range), beyond_end},
      {"00 00 00 00", {}, record_of_two, typeid(std::out_of_range), smaller_than_expected},
      {"00 00 00 03 11 22", {}, record_of_two, typeid(std::out_of_range), invalid_end},
      {"FF FF FF FF 11 22", {}, record_of_two, typeid(std::out_of_range), invalid_end},
      {"00 00 00 01 11 22", {}, record_of_two, typeid(std::out_of_range), too_small},
      {"00 00 00 01 11", {}, record_of_two, typeid(std::out_of_range), beyond_end},
      {"00 00 00 05 01 02 03 04 05 06 07 08", {}, numbers, typeid(std::out_of_range), too_small},
      {"00 00 00 05 01", {}, numbers, typeid(std::out_of_range), invalid_end},
      {"00 00 00 02", plain(4, 4, 3), record_of_two, typeid(std::invalid_argument), invalid_length_field},
      {"00 00 00 02", plain(0), text, typeid(std::invalid_argument), invalid_length_field},
      {"00 00 00 02 41 00",
       {},
       text,
       typeid(std::invalid_argument),
       "String has no byte order mark or no terminating zero."},
      {"00 00 00 04 EF BB BF 41",
       {},
       text,
       typeid(std::invalid_argument),
       "String has no byte order mark or no terminating zero."},
      {"00 00 00 00", {}, text, typeid(std::invalid_argument), "String has no byte order mark or no terminating zero."},
  };
  for (Complaint const& row : table) {
    Bytes const bytes = bytes_of(row.hex);
    Deserializer in(bytes.data(), bytes.size(), row.format);
    try {
      row.read(in);
      ADD_FAILURE() << row.hex << " was accepted";
    } catch (std::exception const& error) {
      EXPECT_STREQ(error.what(), row.text) << row.hex;
      EXPECT_TRUE(typeid(error) == row.type) << row.hex;
    }
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

struct Refusal {
  std::function<void(Serializer&)> write;
  Wire_format format;
  std::type_info const& type;
  char const* text;
};

TEST(ASerializer, ComplainsWithTheAgreedTexts) {
  auto const vector_of = [](std::size_t size) { return [=](Serializer& out) { out.write_bytes(Bytes(size)); }; };
  auto const record_of = [](std::size_t size) {
    return [=](Serializer& out) { out.write_record([&] { out.write_bytes(Bytes(size)); }); };
  };
  std::vector<Refusal> const table{
      {vector_of(256), plain(4, 1), typeid(std::overflow_error), does_not_fit},
      {vector_of(65536), plain(4, 2), typeid(std::overflow_error), does_not_fit},
      {record_of(252), plain(4, 4, 1), typeid(std::overflow_error), does_not_fit},
      {[](Serializer& out) { out.write_string(std::string(252, 'x')); },
       {String_encoding::utf8_bom, 1},
       typeid(std::overflow_error),
       does_not_fit},
      {vector_of(1), plain(4, 0), typeid(std::invalid_argument), vector_without_length},
      {[](Serializer& out) { out.write_array([] {}); }, plain(4, 0), typeid(std::invalid_argument),
       vector_without_length},
      {vector_of(1), plain(4, 3), typeid(std::invalid_argument), invalid_length_field},
  };
  for (Refusal const& row : table) {
    Bytes bytes;
    Serializer out(bytes, row.format);
    try {
      row.write(out);
      ADD_FAILURE() << row.text << " was expected";
    } catch (std::exception const& error) {
      EXPECT_STREQ(error.what(), row.text);
      EXPECT_TRUE(typeid(error) == row.type) << error.what();
    }
  }
  Bytes bytes;
  Serializer(bytes, plain(4, 1)).write_bytes(Bytes(255));
  EXPECT_EQ(bytes.size(), 256U);
}

}  // namespace
