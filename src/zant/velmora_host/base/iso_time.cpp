#include <zant/velmora_host/base/iso_time.hpp>

#include <Poco/DateTime.h>
#include <Poco/DateTimeParser.h>
#include <Poco/Exception.h>
#include <fmt/chrono.h>
#include <fmt/format.h>

#include <cstdlib>

namespace zant::velmora_host {

using std::chrono::system_clock;

std::string to_iso_time(std::chrono::system_clock::time_point time) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::chrono::system_clock::to_time_t(time)));
}

system_clock::time_point parse_iso_time(const std::string& text) {
  int zone = 0;
  const auto time = Poco::DateTimeParser::parse("%Y-%m-%dT%H:%M:%SZ", text, zone).timestamp().epochTime();
  constexpr auto LATEST = std::chrono::duration_cast<std::chrono::seconds>(system_clock::duration::max());
  if (std::abs(time) > LATEST.count()) {
    throw Poco::RangeException(text);
  }
  return system_clock::from_time_t(time);
}

}  // namespace zant::velmora_host
