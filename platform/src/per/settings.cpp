// SPDX-License-Identifier: Apache-2.0
#include "platform/src/per/settings.h"

namespace linux_platform::per {
namespace {

constexpr std::chrono::milliseconds longest_lock_wait{60000};

std::string directory(manifest::Node const& node) {
  auto path = node.text();
  if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos) {
    node.refuse("has to be an absolute path");
  }
  return path;
}

}  // namespace

Per_settings Per_settings::read(manifest::Node const& persistency) {
  persistency.allow_only({"root", "run_directory", "group", "lock_wait_ms", "default_budget", "budgets"});
  Per_settings settings;
  settings.root = directory(persistency.member("root"));
  settings.run_directory = directory(persistency.member("run_directory"));
  if (auto const group = persistency.find("group")) {
    settings.group = group->text();
  }
  if (auto const wait = persistency.find("lock_wait_ms")) {
    settings.lock_wait = wait->milliseconds(std::chrono::milliseconds{0}, longest_lock_wait);
  }
  return settings;
}

}  // namespace linux_platform::per
