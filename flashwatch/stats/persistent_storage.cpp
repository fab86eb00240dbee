// SPDX-License-Identifier: Apache-2.0
#include "flashwatch/stats/persistent_storage.h"

#include <exception>

#include "ara/log/logging.h"
#include "flashwatch/stats/entry_codec.h"
#include "flashwatch/stats/kvs_exception_handler.h"

namespace orvel::flashwatch::diagnostics {
namespace {

void log_entry(char const* action, std::string const& key, Persistent_storage_if::Entry const& entry) {
  ara::log::LogDebug() << action << key << "time of first use:" << entry.time_of_first_use
                       << "soft limit:" << entry.limits.soft << "hard limit:" << entry.limits.hard
                       << "years in use:" << entry.years_in_use;
}

}  // namespace

Persistent_storage::Persistent_storage() : storage_("flashwatch_BkupByEmBoot") {}

std::optional<Persistent_storage_if::Entry> Persistent_storage::read(std::string const& key) const noexcept {
  if (!storage_.HasKey(key)) {
    return std::nullopt;
  }
  ara::per::KvsType const value = storage_.GetValue(key);
  Entry_bytes bytes{};
  try {
    value.GetBinary(bytes.data(), bytes.size());
  } catch (...) {
    ara::log::LogWarn() << "Exception caught during kvs_db readout";
    handle_kvs_exception(std::current_exception());
    return std::nullopt;
  }
  Entry const entry = decode(bytes);
  log_entry("Read for key:", key, entry);
  return entry;
}

void Persistent_storage::create(std::string const& key, Entry const& entry) {
  if (storage_.HasKey(key)) {
    ara::log::LogWarn() << "Trying to create entry with existing key";
    return;
  }
  write(key, entry);
}

void Persistent_storage::update(std::string const& key, Entry const& entry) {
  if (!storage_.HasKey(key)) {
    ara::log::LogWarn() << "Trying to update not created entry";
    return;
  }
  write(key, entry);
}

void Persistent_storage::sync_to_storage() {
  if (!written_) {
    return;
  }
  try {
    storage_.SyncToStorage();
  } catch (...) {
    ara::log::LogWarn() << "Exception caught during sync_to_storage";
    handle_kvs_exception(std::current_exception());
  }
}

void Persistent_storage::write(std::string const& key, Entry const& entry) {
  try {
    Entry_bytes const bytes = encode(entry);
    storage_.SetValue(key, ara::per::KvsType(bytes.data(), bytes.size()));
    log_entry("Write for key:", key, entry);
    written_ = true;
  } catch (...) {
    ara::log::LogWarn() << "Exception caught during kvs_db write";
    handle_kvs_exception(std::current_exception());
  }
}

}  // namespace orvel::flashwatch::diagnostics
