// SPDX-License-Identifier: Apache-2.0
#include "machine/flashwatch_read/options.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <getopt.h>
#include <string_view>

#include "machine/flashwatch_read/printable.h"

namespace flashwatch_read {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds default_interval{2000};
constexpr milliseconds shortest_time{100};
constexpr milliseconds longest_time{std::chrono::hours{24}};

/// Long options without a short form are told apart by values beyond any character.
enum Long_option : int { tester_address = 256, entity_address, mapping, bytes };

constexpr char const* short_options = ":p:t:jw::hV";
constexpr std::array<option, 11> long_options{{{"port", required_argument, nullptr, 'p'},
                                               {"timeout", required_argument, nullptr, 't'},
                                               {"tester-address", required_argument, nullptr, tester_address},
                                               {"entity-address", required_argument, nullptr, entity_address},
                                               {"mapping", required_argument, nullptr, mapping},
                                               {"bytes", no_argument, nullptr, bytes},
                                               {"json", no_argument, nullptr, 'j'},
                                               {"watch", optional_argument, nullptr, 'w'},
                                               {"help", no_argument, nullptr, 'h'},
                                               {"version", no_argument, nullptr, 'V'},
                                               {nullptr, 0, nullptr, 0}}};

[[noreturn]] void refuse(std::string const& name, std::string_view text, std::string const& wanted) {
  throw Usage_error{name + ": '" + printable(text) + "' is not " + wanted};
}

/// A whole text as a number, hexadecimal behind "0x"; at least `least`.
std::uint16_t number(std::string const& name, std::string_view text, std::uint16_t least) {
  bool const hexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
  auto const digits = hexadecimal ? text.substr(2) : text;
  std::uint16_t value = 0;
  auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, hexadecimal ? 16 : 10);
  if (error != std::errc{} || end != digits.data() + digits.size() || value < least) {
    refuse(name, text, "a number from " + std::to_string(least) + " to 65535");
  }
  return value;
}

std::optional<double> seconds(std::string_view text) {
  double value = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  bool const whole = error == std::errc{} && end == text.data() + text.size();
  return whole && std::isfinite(value) ? std::optional{value} : std::nullopt;
}

milliseconds duration(std::string const& name, std::string_view text) {
  auto const value = seconds(text);
  std::chrono::duration<double> const asked{value.value_or(0)};
  if (asked < shortest_time || asked > longest_time) {
    refuse(name, text, "a number of seconds from 0.1 to 86400");
  }
  return std::chrono::round<milliseconds>(asked);
}

/// The interval, which may stand behind --watch or in an argument of its own; such an argument is used up.
milliseconds interval_of_watch(std::vector<char*> const& arguments) {
  if (optarg != nullptr) {
    return duration("--watch", optarg);
  }
  auto const* const following = arguments.at(static_cast<std::size_t>(optind));
  if (following == nullptr || !seconds(following)) {
    return default_interval;
  }
  ++optind;
  return duration("--watch", following);
}

[[noreturn]] void refuse_option(int found, std::vector<char*> const& arguments) {
  std::string const text = printable(arguments.at(static_cast<std::size_t>(optind - 1)));
  throw Usage_error{found == ':' ? text + " needs a value" : text + " is no option of this program, or is not whole"};
}

void apply(int found, std::vector<char*> const& arguments, Options& options) {
  switch (found) {
    case 'p':
      options.remote.port = number("--port", optarg, 1);
      break;
    case 't':
      options.tester.timeout = duration("--timeout", optarg);
      break;
    case tester_address:
      options.tester.tester_address = number("--tester-address", optarg, 1);
      break;
    case entity_address:
      options.tester.entity_address = number("--entity-address", optarg, 1);
      break;
    case mapping:
      options.mapping_file = optarg;
      break;
    case bytes:
      options.amounts = Amount_style::exact_bytes;
      break;
    case 'j':
      options.json = true;
      break;
    case 'w':
      options.watch = interval_of_watch(arguments);
      break;
    case 'h':
      options.help = true;
      break;
    case 'V':
      options.version = true;
      break;
    default:  // what getopt says of anything else is a character too
      refuse_option(found, arguments);
  }
}

}  // namespace

Options parse_options(std::vector<std::string> arguments) {
  std::vector<char*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (auto& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  auto const count = static_cast<int>(arguments.size());
  Options options;
  optind = 0;
  for (;;) {
    auto const found = getopt_long(count, pointers.data(), short_options, long_options.data(), nullptr);
    if (found == -1) {
      break;
    }
    apply(found, pointers, options);
  }
  if (count - optind > 1) {
    throw Usage_error{"more than one host: '" + printable(pointers.at(static_cast<std::size_t>(optind))) + "' and '" +
                      printable(pointers.at(static_cast<std::size_t>(optind) + 1)) + '\''};
  }
  if (optind < count) {
    options.remote.host = pointers.at(static_cast<std::size_t>(optind));
  }
  return options;
}

std::string help_text() {
  return "Usage: flashwatch_read [options] [host]\n"
         "\n"
         "Reads over DoIP how much each application of a machine has written to its flash,\n"
         "and shows it against the applications' budgets. The host is 127.0.20.3 if none\n"
         "is named.\n"
         "\n"
         "  -p, --port NUMBER            the entity's TCP port (13400)\n"
         "      --tester-address NUMBER  the own logical address (0x0E80)\n"
         "      --entity-address NUMBER  the entity's logical address (0x1001)\n"
         "  -t, --timeout SECONDS        how long each answer may take (5)\n"
         "      --mapping FILE           names for SCIDs (/etc/scid_mapping.json)\n"
         "      --bytes                  every amount to the byte\n"
         "  -j, --json                   one line of JSON for each reading\n"
         "  -w, --watch [SECONDS]        again and again (every 2), with rate and forecast\n"
         "  -h, --help                   this text\n"
         "  -V, --version                the program's version\n"
         "\n"
         "Exit codes: 0 fine, 1 the figures could not be read, 2 the command line is\n"
         "wrong, 3 a budget is exceeded.\n";
}

}  // namespace flashwatch_read
