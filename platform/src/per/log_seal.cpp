// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/log_seal.h"

#include <algorithm>
#include <array>
#include <limits>
#include <unistd.h>
#include <vector>

#include <boost/crc.hpp>

#include "platform/src/per/little_endian.h"
#include "platform/src/per/names.h"
#include "platform/src/per/store_file.h"
#include "platform/src/per/store_format.h"

namespace linux_platform::per {
namespace {

/// The layout of a log (sqlite.org/fileformat2.html, section 4).
constexpr std::int64_t header_size = 32;
constexpr std::size_t salts_at = 16;
constexpr std::size_t salt_size = 4;
constexpr std::int64_t frame_size = 24 + Store_format::page_size;

/// "fwSealed".
constexpr std::uint64_t mark = 0x66775365616C6564ULL;
constexpr std::size_t seal_size = 32;
constexpr std::size_t crc_size = 4;

/// Who only reads looks no further, as an application can make its log as long as it likes. A log that has become so
/// long by one great commit is checked when the application opens it.
constexpr std::int64_t longest_log_read = 8LL << 20U;

using Bytes = std::vector<std::uint8_t>;

std::uint32_t crc_of(std::uint8_t const* data, std::size_t size) {
  boost::crc_32_type crc;
  crc.process_bytes(data, size);
  return crc.checksum();
}

/// A log from its beginning, frame by frame.
class Log_reader {
 public:
  explicit Log_reader(Store_file& file) : file_(file) {}

  /// Takes in the header, or the next frame; false at the end of the file.
  bool next() {
    Bytes piece(static_cast<std::size_t>(end_ == 0 ? header_size : frame_size));
    if (file_.read(piece.data(), static_cast<int>(piece.size()), end_) != SQLITE_OK) {
      return false;
    }
    if (end_ == 0) {
      std::copy_n(piece.begin() + salts_at, salts_.size(), salts_.begin());
    }
    crc_.process_bytes(piece.data(), piece.size());
    end_ += static_cast<std::int64_t>(piece.size());
    return true;
  }

  std::int64_t end() const noexcept { return end_; }
  std::uint32_t crc() const { return crc_.checksum(); }
  std::array<std::uint8_t, 2 * salt_size> const& salts() const noexcept { return salts_; }

 private:
  Store_file& file_;
  std::int64_t end_ = 0;
  boost::crc_32_type crc_;
  std::array<std::uint8_t, 2 * salt_size> salts_{};
};

Bytes make_seal(std::uint64_t frames, Log_reader const& log) {
  Bytes seal;
  Little_endian_writer writer(seal);
  writer.u64(mark);
  writer.u64(frames);
  seal.insert(seal.end(), log.salts().begin(), log.salts().end());
  writer.u32(log.crc());
  writer.u32(crc_of(seal.data(), seal.size()));
  return seal;
}

/// Whether `bytes` are a seal, and of this log: one of the two salts is enough, as the other may be what is damaged.
bool is_seal(Bytes const& bytes, Log_reader const& log) {
  if (Little_endian_reader(bytes.data(), 8).u64() != mark ||
      Little_endian_reader(bytes.data() + seal_size - crc_size, crc_size).u32() !=
          crc_of(bytes.data(), seal_size - crc_size)) {
    return false;
  }
  auto const sealed = bytes.begin() + salts_at;
  return std::equal(sealed, sealed + salt_size, log.salts().begin()) ||
         std::equal(sealed + salt_size, sealed + 2 * salt_size, log.salts().begin() + salt_size);
}

}  // namespace

void Log_seal::write(std::string const& file, std::uint32_t frames, Store_vfs& vfs) {
  auto const path = file + std::string(log_suffix);
  Store_file opened(vfs, path.c_str());
  if (opened.open() != SQLITE_OK) {
    return;
  }
  Log_reader log(opened);
  for (std::uint64_t pieces = 0; pieces <= frames; ++pieces) {
    if (!log.next()) {
      return;
    }
  }
  auto const seal = make_seal(frames, log);
  static_cast<void>(opened.write(seal.data(), static_cast<int>(seal.size()), log.end()));
}

std::optional<std::string> Log_seal::check(std::string const& file, Store_vfs& vfs) {
  auto const path = file + std::string(log_suffix);
  if (access(path.c_str(), F_OK) != 0) {
    return std::nullopt;
  }
  Store_file opened(vfs, path.c_str());
  if (opened.open() != SQLITE_OK) {
    return std::nullopt;
  }
  Log_reader log(opened);
  Bytes piece(seal_size);
  auto const limit =
      vfs.access() == Store_vfs::Access::read_only ? longest_log_read : std::numeric_limits<std::int64_t>::max();
  while (log.end() < limit && log.next()) {
    if (opened.read(piece.data(), static_cast<int>(seal_size), log.end()) != SQLITE_OK) {
      return std::nullopt;
    }
    if (is_seal(piece, log) && piece != make_seal(Little_endian_reader(piece.data() + 8, 8).u64(), log)) {
      return "the file is damaged: its log is not as it was left";
    }
  }
  return std::nullopt;
}

}  // namespace linux_platform::per
