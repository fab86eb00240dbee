// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/usage_reader.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <iterator>
#include <limits>
#include <memory>
#include <set>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "ara/per/exceptions.h"
#include "platform/src/per/database.h"
#include "platform/src/per/descriptor.h"
#include "platform/src/per/names.h"
#include "platform/src/per/store_vfs.h"
#include "platform/src/per/usage_file.h"

namespace linux_platform::per {
namespace {

/// An application with more storages is read up to here. Nobody needs as many; it bounds what one application can cost.
constexpr std::size_t storage_limit = 256;

struct Close_folder {
  void operator()(DIR* folder) const noexcept { closedir(folder); }
};

/// Whether the process cannot read now what it could read at another time.
bool is_shortage(int error) noexcept { return error == EMFILE || error == ENFILE || error == ENOMEM; }

void refuse_shortage(int error, std::string const& place) {
  if (is_shortage(error)) {
    throw std::system_error(error, std::generic_category(), "\"" + printable(place) + "\" cannot be read now");
  }
}

/// The names in a folder that end so: the first ones in their order, `limit` of them at most. Nothing when it cannot be
/// read, with errno set. Reading them leaves the folder's time of last access alone where the process may do so.
std::optional<std::set<std::string>> names_in(std::string const& path, std::string_view suffix, std::size_t limit) {
  constexpr int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW;
  auto descriptor = open(path.c_str(), flags | O_NOATIME);
  if (descriptor < 0 && errno == EPERM) {
    descriptor = open(path.c_str(), flags);
  }
  std::unique_ptr<DIR, Close_folder> const folder(descriptor < 0 ? nullptr : fdopendir(descriptor));
  if (!folder) {
    return std::nullopt;
  }
  std::set<std::string> names;
  while (auto const* const entry = readdir(folder.get())) {
    std::string_view const name(static_cast<char const*>(entry->d_name));
    if (name.size() > suffix.size() && name.substr(name.size() - suffix.size()) == suffix) {
      names.emplace(name);
    }
    if (names.size() > limit) {
      names.erase(std::prev(names.end()));
    }
  }
  return names;
}

struct Counters {
  /// Nothing when there are none, when they are only being made, and when they are damaged.
  std::optional<Usage_file> content;
  bool damaged = false;
};

Counters load_counters(std::string const& path) {
  Descriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!file) {
    refuse_shortage(errno, path);
    return {std::nullopt, errno != ENOENT};
  }
  struct stat status {};
  if (fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0) {
    return {};
  }
  auto const content = Usage_file::load(file.get());
  return {content && content->store_id != 0 ? content : std::nullopt, !content};
}

}  // namespace

Usage_reader::Usage_reader(Per_settings settings) : settings_(std::move(settings)) {}

Usage_reader::Reading Usage_reader::read() {
  Reading reading;
  auto const names = names_in(settings_.root, "", std::numeric_limits<std::size_t>::max());
  if (!names) {
    throw std::system_error(errno, std::generic_category(),
                            "the folder of the storages \"" + printable(settings_.root) + "\" cannot be read");
  }
  for (auto const& name : *names) {
    read_application(name, reading);
  }
  forget_what_is_gone();
  std::sort(reading.applications.begin(), reading.applications.end(),
            [](auto const& a, auto const& b) { return a.application_id < b.application_id; });
  return reading;
}

void Usage_reader::read_application(std::string const& folder_name, Reading& reading) {
  auto const folder = settings_.root + "/" + folder_name;
  auto const application_id = unescape(folder_name);
  struct stat status {};
  if (!application_id || lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
    return;
  }
  auto const names = names_in(folder, store_suffix, storage_limit + 1);
  if (!names) {
    refuse_shortage(errno, folder);
    report(folder, "the folder of an application cannot be read: " + std::generic_category().message(errno), reading);
    return;
  }
  Application_usage application{*application_id, {}, {}};
  std::size_t storages = 0;
  for (auto const& name : *names) {
    if (++storages > storage_limit) {
      report(folder, "more than " + std::to_string(storage_limit) + " storages, the others are not counted", reading);
      break;
    }
    read_storage(folder_name, name, application, reading);
  }
  if (storages != 0) {
    reading.applications.push_back(std::move(application));
  }
}

void Usage_reader::read_storage(std::string const& folder, std::string const& file_name, Application_usage& application,
                                Reading& reading) {
  auto const file = settings_.root + "/" + folder + "/" + file_name;
  struct stat status {};
  if (lstat(file.c_str(), &status) != 0) {
    return;
  }
  auto& storage = storages_[file];
  storage.seen = true;
  if (storage.file_number != status.st_ino) {
    storage = Storage{status.st_ino, false, true, 0, 0, {}};
  }
  if (!storage.examined) {
    examine(file, storage, reading);
  } else if (auto const known = findings_.find(file); known != findings_.end()) {
    known->second.seen = true;
  }
  auto const name = file_name.substr(0, file_name.size() - store_suffix.size());
  auto const counters_file = settings_.run_directory + "/" + folder + "/" + name + std::string(counters_suffix);
  auto const [counters, damaged] = load_counters(counters_file);
  if (counters) {
    look_again(file, *counters, storage, reading);
  }
  // A store that was busy with counters is in its application's hands, and they say everything.
  storage.examined = storage.examined || counters;
  // Counters of another store are left from one that was here before.
  auto const fit = counters && (storage.store_id == 0 || storage.store_id == counters->store_id);
  auto const behind = fit && !covers(counters->total(), storage.stored);
  if (damaged || behind) {
    report(counters_file, "the usage counters are damaged; what the store held when it was first seen counts", reading);
  }
  if (fit && !behind) {
    application.session = application.session + counters->session();
    application.total = application.total + counters->total();
  } else {
    application.total = application.total + storage.stored;
  }
}

/// Counters of another store: left over from one that was here before, or those of a new one that has got the number of
/// the old one's file. Which of the two does not change, so one look at the store will do.
void Usage_reader::look_again(std::string const& file, Usage_file const& counters, Storage& storage, Reading& reading) {
  if (storage.store_id == 0 || storage.store_id == counters.store_id || storage.foreign_id == counters.store_id) {
    return;
  }
  storage = Storage{storage.file_number, false, true, 0, counters.store_id, {}};
  examine(file, storage, reading);
}

void Usage_reader::examine(std::string const& file, Storage& storage, Reading& reading) {
  No_write_meter meter;
  No_file_observer observer;
  Store_vfs vfs(Store_vfs::Access::read_only, File_rights{}, meter, observer);
  try {
    Database const database(file, vfs, std::chrono::milliseconds{0});
    storage.store_id = database.summary().store_id;
    storage.stored = database.summary().total;
    storage.examined = true;
  } catch (Database_busy const&) {
    // Its application has it open. Without counters it is only just doing so, and the next reading will tell.
  } catch (ara::per::ExceptionPhysicalStorageError const& e) {
    refuse_shortage(vfs.last_error(), file);
    storage.examined = true;
    report(file, e.what(), reading);
  }
}

void Usage_reader::report(std::string const& place, std::string const& finding, Reading& reading) {
  auto& known = findings_[place];
  known.seen = true;
  if (known.text != finding) {
    known.text = finding;
    reading.findings.push_back("\"" + printable(place) + "\": " + finding);
  }
}

void Usage_reader::forget_what_is_gone() {
  auto const forget = [](auto& known) {
    for (auto at = known.begin(); at != known.end();) {
      at = std::exchange(at->second.seen, false) ? std::next(at) : known.erase(at);
    }
  };
  forget(storages_);
  forget(findings_);
}

}  // namespace linux_platform::per
