// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/usage_counters.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include "ara/per/exceptions.h"
#include "platform/src/per/names.h"

namespace linux_platform::per {
namespace {

constexpr std::chrono::milliseconds lock_poll_interval{5};
/// The group of the storages may see how much is written; only the owner counts.
constexpr mode_t counters_mode = 0640;

std::string text(std::string const& file, std::string const& what, int error) {
  return "usage counters \"" + printable(file) + "\": " + what + ": " + std::generic_category().message(error);
}

/// Locks of this kind belong to the open file, so that a process's other files and threads cannot lose them.
bool try_lock(int descriptor) {
  struct flock whole_file {};
  whole_file.l_type = F_WRLCK;
  whole_file.l_whence = SEEK_SET;
  return fcntl(descriptor, F_OFD_SETLK, &whole_file) == 0;
}

bool write_all(int descriptor, Usage_file const& content) noexcept {
  auto const words = content.to_words();
  return pwrite(descriptor, words.data(), Usage_file::size, 0) == static_cast<ssize_t>(Usage_file::size);
}

}  // namespace

Usage_counters::Usage_counters(std::string const& file, File_rights const& rights, std::chrono::milliseconds lock_wait)
    : file_(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, counters_mode)) {
  if (!file_) {
    throw ara::per::ExceptionStorageLocationNotFound(text(file, "cannot be opened", errno));
  }
  lock(file, lock_wait);
  if (auto const content = Usage_file::load(file_.get())) {
    content_ = *content;
  } else {
    repair(rights, file);
  }
  try {
    words_.emplace(file_.get(), Usage_file::word_count);
  } catch (std::system_error const& error) {
    throw ara::per::ExceptionPhysicalStorageError(text(file, "cannot be mapped", error.code().value()));
  }
  run_before_ = content_.run;
}

void Usage_counters::lock(std::string const& file, std::chrono::milliseconds wait) const {
  auto const deadline = std::chrono::steady_clock::now() + wait;
  while (!try_lock(file_.get())) {
    if (errno != EAGAIN && errno != EACCES) {
      throw ara::per::ExceptionPhysicalStorageError(text(file, "cannot be locked", errno));
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      throw ara::per::ExceptionPhysicalStorageError("it is in use by another process, for longer than " +
                                                    std::to_string(wait.count()) + " ms");
    }
    std::this_thread::sleep_for(lock_poll_interval);
  }
}

void Usage_counters::repair(File_rights const& rights, std::string const& file) {
  auto error = rights.apply(file_.get(), counters_mode);
  if (error == 0 && ftruncate(file_.get(), static_cast<off_t>(Usage_file::size)) != 0) {
    error = errno;
  }
  if (error == 0 && !write_all(file_.get(), content_)) {
    error = errno;
  }
  if (error != 0) {
    throw ara::per::ExceptionPhysicalStorageError(text(file, "cannot be written", error));
  }
}

void Usage_counters::attach(std::uint64_t store_id, Usage const& stored) {
  auto const unnamed = content_.store_id == 0;
  if (content_.store_id == store_id && covers(content_.total(), stored)) {
    return;
  }
  // Counters without a store's name are those of an opening that did not come to its end: what it wrote is counted.
  content_.run = unnamed ? content_.run : content_.run - run_before_;
  content_.start = Usage{};
  content_.base = stored;
  content_.store_id = store_id;
  // Readers pass over counters without a name, so nobody sees the change half made.
  words_->store(Usage_file::store_id_word, 0);
  auto unnamed_content = content_;
  unnamed_content.store_id = 0;
  write_all(file_.get(), unnamed_content);
  words_->store(Usage_file::store_id_word, store_id);
}

void Usage_counters::written(std::uint64_t bytes) noexcept {
  content_.run.write = saturating_sum(content_.run.write, bytes);
  words_->store(Usage_file::run_write_word, content_.run.write);
}

void Usage_counters::value_read(std::uint64_t bytes) noexcept {
  content_.run.read = saturating_sum(content_.run.read, bytes);
  words_->store(Usage_file::run_read_word, content_.run.read);
}

void Usage_counters::value_set() noexcept {
  content_.run.setvalue = saturating_sum(content_.run.setvalue, 1);
  words_->store(Usage_file::run_setvalue_word, content_.run.setvalue);
}

void Usage_counters::end_sessions(std::string const& folder) {
  std::error_code error;
  for (auto const& entry : std::filesystem::directory_iterator(folder, error)) {
    if (entry.path().extension() != counters_suffix) {
      continue;
    }
    Descriptor const file(open(entry.path().c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file || !try_lock(file.get())) {
      continue;
    }
    if (auto content = Usage_file::load(file.get())) {
      content->start = content->run;
      write_all(file.get(), *content);
    }
  }
}

}  // namespace linux_platform::per
