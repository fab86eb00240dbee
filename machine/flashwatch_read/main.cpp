// SPDX-License-Identifier: Apache-2.0
// flashwatch_read: the tester's view of a machine's flash writes.
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

#include "machine/flashwatch_read/entity_source.h"
#include "machine/flashwatch_read/exit_code.h"
#include "machine/flashwatch_read/json_text.h"
#include "machine/flashwatch_read/line_display.h"
#include "machine/flashwatch_read/options.h"
#include "machine/flashwatch_read/overview.h"
#include "machine/flashwatch_read/scid_names.h"
#include "machine/flashwatch_read/table.h"
#include "machine/flashwatch_read/terminal_display.h"
#include "machine/flashwatch_read/watch.h"

namespace flashwatch_read {
namespace {

constexpr std::size_t narrowest = 40;
constexpr std::size_t widest = 250;

bool is_terminal() { return ::isatty(STDOUT_FILENO) == 1; }

bool understands_escapes() {
  auto const* const kind = std::getenv("TERM");
  return is_terminal() && kind != nullptr && std::string_view{kind} != "dumb";
}

Terminal_size terminal_size() {
  winsize size{};
  if (!is_terminal() || ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
    return {};
  }
  return {std::clamp<std::size_t>(size.ws_col, narrowest, widest), std::max<std::size_t>(size.ws_row, 2)};
}

Table_style table_style(Options const& options) {
  return {terminal_size().columns, understands_escapes() && std::getenv("NO_COLOR") == nullptr, options.amounts};
}

std::unique_ptr<Display_if> make_display(Options const& options) {
  auto const style = table_style(options);
  if (options.json) {
    return std::make_unique<Line_display>(std::cout, std::cerr, json_text);
  }
  if (options.watch && understands_escapes()) {
    return std::make_unique<Terminal_display>(std::cout, terminal_size, style);
  }
  auto const* const separator = options.watch ? "\n" : "";
  return std::make_unique<Line_display>(
      std::cout, std::cerr, [=](Overview const& overview) { return table_text(overview, style) + separator; });
}

Exit_code read_once(Figure_source_if& source, Display_if& display, Scid_names const& names,
                    Overview_context const& context) {
  auto const overview = make_overview(source.read(), nullptr, names, context);
  display.show(overview);
  return overview.budget_exceeded ? Exit_code::budget_exceeded : Exit_code::fine;
}

Exit_code run(Options const& options) {
  if (options.help || options.version) {
    std::cout << (options.help ? help_text() : "flashwatch_read " FLASHWATCH_VERSION "\n") << std::flush;
    if (!std::cout) {
      throw std::runtime_error("what was asked for cannot be written to the standard output");
    }
    return Exit_code::fine;
  }
  auto const names = Scid_names::from_file(options.mapping_file);
  Overview_context const context{remote_text(options.remote), options.watch.has_value(), options.amounts};
  std::optional<Stop_signal> stop;
  if (options.watch) {
    stop.emplace();
  }
  Entity_source source{options.remote, options.tester, stop ? &*stop : nullptr};
  auto const display = make_display(options);
  return options.watch ? watch(source, *display, names, context, *options.watch)
                       : read_once(source, *display, names, context);
}

int report(Exit_code code, std::string const& text) {
  std::cerr << "flashwatch_read: " << text << std::endl;
  return static_cast<int>(code);
}

}  // namespace
}  // namespace flashwatch_read

int main(int argc, char* argv[]) {
  using namespace flashwatch_read;
  try {
    return static_cast<int>(run(parse_options({argv, argv + argc})));
  } catch (Usage_error const& error) {
    return report(Exit_code::usage_error, std::string{error.what()} + " (see flashwatch_read --help)");
  } catch (std::exception const& error) {
    return report(Exit_code::could_not_read, error.what());
  }
}
