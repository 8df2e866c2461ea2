#include <zant/velmora_host/base/iso_time.hpp>

#include <Poco/DateTime.h>
#include <Poco/DateTimeParser.h>
#include <Poco/Exception.h>
#include <Poco/Timestamp.h>
#include <fmt/format.h>

namespace zant::velmora_host {
namespace {

using std::chrono::seconds;
using std::chrono::system_clock;

// In 64 bits everywhere: some hosts' time_t ends in 2038.
Poco::DateTime date_of(system_clock::time_point time) {
  const auto whole = std::chrono::floor<seconds>(time.time_since_epoch());
  return Poco::DateTime(Poco::Timestamp(Poco::Int64{whole.count()} * Poco::Timestamp::resolution()));
}

// Schedules are reckoned days and weeks ahead.
constexpr seconds LATEST =
    std::chrono::duration_cast<seconds>(system_clock::duration::max()) - std::chrono::hours(24 * 365);
// 1900. What a host has noted while its clock stood before 1970 is still a time.
constexpr seconds EARLIEST(-2208988800);

}  // namespace

std::string to_iso_time(system_clock::time_point time) {
  const auto date = date_of(time);
  return fmt::format("{}T{:02}:{:02}:{:02}Z", to_iso_day(time), date.hour(), date.minute(), date.second());
}

std::string to_iso_day(system_clock::time_point time) {
  const auto date = date_of(time);
  return fmt::format("{:04}-{:02}-{:02}", date.year(), date.month(), date.day());
}

std::optional<system_clock::time_point> time_since_epoch(long long count) {
  return count >= 0 && count <= LATEST.count() ? std::optional(system_clock::time_point(seconds(count)))
                                               : std::nullopt;
}

system_clock::time_point parse_iso_time(const std::string& text) {
  int zone = 0;
  const auto time = Poco::DateTimeParser::parse("%Y-%m-%dT%H:%M:%SZ", text, zone).timestamp();
  const seconds since_epoch(time.epochMicroseconds() / Poco::Timestamp::resolution());
  if (since_epoch < EARLIEST || since_epoch > LATEST) {
    throw Poco::RangeException(text);
  }
  return system_clock::time_point(since_epoch);
}

}  // namespace zant::velmora_host
