// SPDX-License-Identifier: Apache-2.0
#include "ara/per/kvs_type.h"

#include <algorithm>
#include <array>
#include <utility>

#include "ara/per/exceptions.h"

namespace ara::per {
namespace {

/// In the order of the alternatives of a value's content.
constexpr std::array<char const*, 7> type_names{"binary",         "text",    "signed integer", "unsigned integer",
                                                "floating point", "boolean", "damaged"};

std::vector<std::uint8_t> copy_of(void const* data, std::size_t size) {
  auto const* const bytes = static_cast<std::uint8_t const*>(data);
  return size == 0 ? std::vector<std::uint8_t>{} : std::vector<std::uint8_t>(bytes, bytes + size);
}

}  // namespace

KvsType::KvsType(void const* data, std::size_t size) : content_(copy_of(data, size)) {}
KvsType::KvsType(std::string text) : content_(std::move(text)) {}
KvsType::KvsType(char const* text) : content_(std::string(text)) {}
KvsType::KvsType(std::int64_t value) noexcept : content_(value) {}
KvsType::KvsType(std::uint64_t value) noexcept : content_(value) {}
KvsType::KvsType(double value) noexcept : content_(value) {}
KvsType::KvsType(bool value) noexcept : content_(value) {}
KvsType::KvsType(Content content) noexcept : content_(std::move(content)) {}

KvsType KvsType::damaged(std::string finding) { return KvsType(Content(Damage{std::move(finding)})); }

template <typename T>
T const& KvsType::get() const {
  if (auto const* const damage = std::get_if<Damage>(&content_)) {
    throw ExceptionPhysicalStorageError(damage->finding);
  }
  if (auto const* const value = std::get_if<T>(&content_)) {
    return *value;
  }
  throw ExceptionLogicError(std::string("the value is of type ") + type_names.at(content_.index()) + ", not " +
                            type_names.at(Content(T{}).index()));
}

void KvsType::GetBinary(void* buffer, std::size_t size) const {
  auto const& bytes = get<std::vector<std::uint8_t>>();
  if (bytes.size() != size) {
    throw ExceptionLogicError("the binary value has " + std::to_string(bytes.size()) + " bytes, not " +
                              std::to_string(size));
  }
  std::copy(bytes.begin(), bytes.end(), static_cast<std::uint8_t*>(buffer));
}

std::vector<std::uint8_t> KvsType::GetBinary() const { return get<std::vector<std::uint8_t>>(); }
std::string KvsType::GetString() const { return get<std::string>(); }
std::int64_t KvsType::GetSInt() const { return get<std::int64_t>(); }
std::uint64_t KvsType::GetUInt() const { return get<std::uint64_t>(); }
double KvsType::GetDouble() const { return get<double>(); }
bool KvsType::GetBool() const { return get<bool>(); }

}  // namespace ara::per
