#include <program/log/log_format.hpp>

#include <zant/velmora_host/base/printable.hpp>

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace zant::program {
namespace {

using zant::logging::severity_level;

// The priorities of syslog, as sd-daemon(3) names them.
int journal_priority(severity_level severity) {
  switch (severity) {
    case severity_level::trace:
    case severity_level::debug:
      return 7;
    case severity_level::info:
      return 6;
    case severity_level::notice:
      return 5;
    case severity_level::warning:
      return 4;
    case severity_level::error:
      return 3;
    case severity_level::fatal:
      return 2;
  }
  return 3;
}

const char* colour_of(severity_level severity) {
  switch (severity) {
    case severity_level::fatal:
    case severity_level::error:
      return "\x1b[31m";  // red
    case severity_level::warning:
      return "\x1b[33m";  // yellow
    case severity_level::notice:
      return "\x1b[1m";  // bold
    default:
      return "";
  }
}

}  // namespace

std::string format_for_terminal(const Log_Entry& entry, bool with_colour) {
  const std::string colour = with_colour ? colour_of(entry.severity) : "";
  const auto seconds = std::chrono::floor<std::chrono::seconds>(entry.time);
  const std::time_t time = std::chrono::system_clock::to_time_t(seconds);
  return fmt::format("{:%Y-%m-%d %H:%M:%S} {}{:<7} {}: {}{}\n", fmt::localtime(time), colour,
                     zant::logging::to_string(entry.severity), entry.channel,
                     velmora_host::printable_lines(entry.message, "\n    "), colour.empty() ? "" : "\x1b[0m");
}

std::string format_for_journal(const Log_Entry& entry) {
  return fmt::format("<{}>{}: {}\n", journal_priority(entry.severity), entry.channel,
                     velmora_host::printable_lines(entry.message, " | "));
}

}  // namespace zant::program
