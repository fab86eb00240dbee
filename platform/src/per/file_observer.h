// SPDX-License-Identifier: Apache-2.0
#ifndef PLATFORM_SRC_PER_FILE_OBSERVER_H
#define PLATFORM_SRC_PER_FILE_OBSERVER_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace linux_platform::per {

/// One step of the store towards the medium. Views live for the call only.
struct File_operation {
  enum class Kind {
    create,      ///< `file` comes into being, empty
    write,       ///< `size` bytes of `data` at `offset`; the file grows when need be
    truncate,    ///< `file` gets the length `offset`
    sync,        ///< what was written to `file` is durable after this
    sync_names,  ///< the names of the files in folder `file` are durable after this
    rename,      ///< `file` becomes `new_name`, in the same folder
    remove,      ///< `file` goes
  };
  Kind kind;
  std::string_view file;
  std::int64_t offset = 0;
  void const* data = nullptr;
  std::size_t size = 0;
  std::string_view new_name = {};
};

/// Sees every step before it is taken, in the order of the steps, on the thread that uses the storage. Tests record
/// with it, and let steps fail.
class File_observer {
 public:
  virtual ~File_observer() = default;
  File_observer(File_observer const&) = delete;
  File_observer& operator=(File_observer const&) = delete;

  /// 0 lets the step happen. Any other value is the SQLite result code with which it fails instead.
  virtual int before(File_operation const& operation) noexcept = 0;

 protected:
  File_observer() = default;
};

/// Lets every step happen.
class No_file_observer final : public File_observer {
 public:
  int before(File_operation const&) noexcept override { return 0; }
};

}  // namespace linux_platform::per

#endif
