#include <zant/velmora_host/base/iso_time.hpp>

#include <Poco/DateTime.h>
#include <Poco/DateTimeParser.h>
#include <Poco/Exception.h>
#include <fmt/chrono.h>
#include <fmt/format.h>

namespace zant::velmora_host {

using std::chrono::system_clock;

std::string to_iso_time(std::chrono::system_clock::time_point time) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::chrono::system_clock::to_time_t(time)));
}

std::optional<system_clock::time_point> time_since_epoch(long long seconds) {
  // Schedules are reckoned days and weeks ahead.
  constexpr auto LATEST = std::chrono::duration_cast<std::chrono::seconds>(system_clock::duration::max()) -
                          std::chrono::hours(24 * 365);
  return seconds >= 0 && seconds <= LATEST.count() ? std::optional(system_clock::from_time_t(seconds))
                                                   : std::nullopt;
}

system_clock::time_point parse_iso_time(const std::string& text) {
  int zone = 0;
  const auto time = Poco::DateTimeParser::parse("%Y-%m-%dT%H:%M:%SZ", text, zone).timestamp().epochTime();
  const auto found = time_since_epoch(time);
  if (!found) {
    throw Poco::RangeException(text);
  }
  return *found;
}

}  // namespace zant::velmora_host
