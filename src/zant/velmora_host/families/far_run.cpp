#include <zant/velmora_host/families/far_run.hpp>

#include <zant/velmora_host/base/iso_time.hpp>

#include <fmt/format.h>

namespace zant::velmora_host {

std::optional<Cause> find_far_run(const std::string& timer, std::chrono::system_clock::time_point next,
                                  std::chrono::system_clock::time_point now, const std::string& evidence,
                                  const std::string& remedy) {
  constexpr auto DAY = std::chrono::hours(24);
  constexpr auto LONGEST = 8 * DAY;
  constexpr auto ALL_BUT_NEVER = 62 * DAY;
  if (next - now <= LONGEST) {
    return std::nullopt;
  }
  return Cause{next - now > ALL_BUT_NEVER ? Cause_Effect::BLOCKS : Cause_Effect::OBSCURES, "timer.far_ahead",
               fmt::format("{} starts nothing before {}", timer, to_iso_time(next)), evidence, remedy};
}

}  // namespace zant::velmora_host
