// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/store.h"

#include <cerrno>
#include <random>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "ara/per/exceptions.h"
#include "platform/src/per/log_file.h"
#include "platform/src/per/names.h"
#include "platform/src/per/record_codec.h"
#include "platform/src/per/sqlite_failure.h"
#include "platform/src/per/store_format.h"

namespace linux_platform::per {
namespace {

using ara::per::ExceptionLogicError;
using ara::per::ExceptionPhysicalStorageError;
using ara::per::ExceptionStorageLocationNotFound;
using ara::per::KvsType;

/// Runs `work`, and puts what it was about in front of what went wrong.
template <typename Work>
auto about(std::string const& subject, Work const& work) {
  try {
    return work();
  } catch (ExceptionPhysicalStorageError const& e) {
    throw ExceptionPhysicalStorageError(subject + e.what());
  } catch (ExceptionStorageLocationNotFound const& e) {
    throw ExceptionStorageLocationNotFound(subject + e.what());
  }
}

std::string file_name(std::string const& name, char const* what) {
  auto escaped = escape(name);
  if (escaped.size() > longest_escaped_name) {
    throw ExceptionLogicError(std::string(what) + " \"" + printable(name) + "\" is too long: as a file name it has " +
                              std::to_string(escaped.size()) + " bytes, and at most " +
                              std::to_string(longest_escaped_name) + " are allowed");
  }
  return escaped;
}

std::uint64_t new_store_id() {
  std::random_device source;
  std::uniform_int_distribution<std::uint64_t> any(1);
  return any(source);
}

bool exists(std::string const& file) {
  struct stat status {};
  if (lstat(file.c_str(), &status) == 0) {
    return true;
  }
  if (errno == ENOENT) {
    return false;
  }
  throw ExceptionStorageLocationNotFound("file \"" + printable(file) +
                                         "\" cannot be looked for: " + std::generic_category().message(errno));
}

}  // namespace

Store_place Store_place::of(Per_settings const& settings, std::string const& application, std::string const& storage) {
  if (storage.empty()) {
    throw ExceptionLogicError("a storage of application \"" + printable(application) + "\" has no name");
  }
  auto const folder_name = file_name(application, "the application id");
  auto const name = file_name(storage, "the storage name");
  Store_place place;
  place.application = application;
  place.storage = storage;
  place.folder = settings.root + "/" + folder_name;
  place.file = place.folder + "/" + name + std::string(store_suffix);
  place.counters_folder = settings.run_directory + "/" + folder_name;
  place.counters_file = place.counters_folder + "/" + name + std::string(counters_suffix);
  return place;
}

Store::Store(Per_settings const& settings, Store_place place, File_observer& observer)
    : place_(std::move(place)), observer_(observer) {
  about(subject(), [&] { open(settings, File_rights::of(settings)); });
}

void Store::open(Per_settings const& settings, File_rights const& rights) {
  rights.make_folder(place_.folder);
  rights.make_folder(place_.counters_folder);
  counters_.emplace(place_.counters_file, rights, settings.lock_wait);
  vfs_.emplace(Store_vfs::Access::read_write, rights, *counters_, observer_);
  if (!exists(place_.file)) {
    make_file();
  }
  database_.emplace(place_.file, *vfs_, settings.lock_wait);
  counters_->attach(database_->summary().store_id, database_->summary().total);
}

/// The lock on the counters keeps every other process out while this goes on. The store gets its name last, when store
/// and log are durable, so that there never is half a store under it.
void Store::make_file() {
  auto const unfinished = place_.file + std::string(unfinished_suffix);
  auto const log = place_.file + std::string(log_suffix);
  auto const step = [this](int result) {
    if (result != SQLITE_OK) {
      throw ExceptionPhysicalStorageError("the file cannot be made: " + sqlite_cause(result, vfs_->last_error()));
    }
  };
  // What an earlier life left behind: a store that was never finished, a log whose store was taken away.
  for (auto const& leftover : {unfinished, log}) {
    if (exists(leftover)) {
      step(vfs_->remove(leftover.c_str()));
    }
  }
  step(vfs_->create_with(unfinished, Store_format::new_file(new_store_id())));
  step(vfs_->create_with(log, std::vector<std::uint8_t>(Log_file::block)));
  step(vfs_->rename(unfinished, place_.file));
  step(vfs_->sync_folder_of(place_.file.c_str()));
}

std::vector<std::string> Store::keys() {
  std::lock_guard const lock(mutex_);
  return about(subject(), [&] { return database_->keys(); });
}

bool Store::contains(std::string const& key) {
  std::lock_guard const lock(mutex_);
  return about(subject(key), [&] { return database_->contains(key); });
}

std::optional<KvsType> Store::value(std::string const& key) {
  std::lock_guard const lock(mutex_);
  try {
    auto const record = database_->record(key);
    if (!record) {
      return std::nullopt;
    }
    auto decoded = Record_codec::decode(key, record->data(), record->size());
    if (auto const* const finding = std::get_if<std::string>(&decoded)) {
      return KvsType::damaged(subject(key) + "the value is damaged: " + *finding);
    }
    return std::get<KvsType>(std::move(decoded));
  } catch (ExceptionPhysicalStorageError const& e) {
    return KvsType::damaged(subject(key) + "the value cannot be read: " + e.what());
  }
}

void Store::commit(Changes const& changes) {
  std::lock_guard const lock(mutex_);
  about(subject(), [&] { database_->commit(changes, counters_->total()); });
}

void Store::count_read(KvsType const& value) {
  std::lock_guard const lock(mutex_);
  counters_->value_read(Record_codec::content_size(value));
}

void Store::count_set() {
  std::lock_guard const lock(mutex_);
  counters_->value_set();
}

std::string Store::subject() const {
  return "storage \"" + printable(place_.storage) + "\" of application \"" + printable(place_.application) + "\": ";
}

std::string Store::subject(std::string const& key) const {
  return "storage \"" + printable(place_.storage) + "\" of application \"" + printable(place_.application) +
         "\", key \"" + printable(key) + "\": ";
}

}  // namespace linux_platform::per
