// SPDX-License-Identifier: Apache-2.0
#ifndef ARA_PER_KVS_TYPE_H
#define ARA_PER_KVS_TYPE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace ara::per {

/// One value of a key-value storage: binary, text, signed, unsigned, floating point or boolean.
///
/// A value read from a storage may be damaged; then the value carries that finding, and every getter throws
/// ExceptionPhysicalStorageError with its text. A getter of another type than the value's throws ExceptionLogicError.
class KvsType {
 public:
  /// Binary content, copied. `data` may be null when `size` is 0.
  KvsType(void const* data, std::size_t size);
  explicit KvsType(std::string text);
  explicit KvsType(char const* text);
  explicit KvsType(std::int64_t value) noexcept;
  explicit KvsType(std::uint64_t value) noexcept;
  explicit KvsType(double value) noexcept;
  explicit KvsType(bool value) noexcept;

  /// A value that was found damaged; `finding` names storage, key and cause.
  static KvsType damaged(std::string finding);

  /// Copies the binary content, which has to be exactly `size` bytes: ExceptionLogicError otherwise, and `buffer` is
  /// untouched.
  void GetBinary(void* buffer, std::size_t size) const;
  std::vector<std::uint8_t> GetBinary() const;
  std::string GetString() const;
  std::int64_t GetSInt() const;
  std::uint64_t GetUInt() const;
  double GetDouble() const;
  bool GetBool() const;

 private:
  friend class Kvs_type_access;
  struct Damage {
    std::string finding;
  };
  using Content =
      std::variant<std::vector<std::uint8_t>, std::string, std::int64_t, std::uint64_t, double, bool, Damage>;
  explicit KvsType(Content content) noexcept;
  template <typename T>
  T const& get() const;

  Content content_;
};

}  // namespace ara::per

#endif
