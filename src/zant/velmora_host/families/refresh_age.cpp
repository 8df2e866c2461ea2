#include <zant/velmora_host/families/refresh_age.hpp>

#include <zant/velmora_host/base/iso_time.hpp>

#include <fmt/format.h>

namespace zant::velmora_host {

std::optional<Finding> find_old_refresh(const std::string& where,
                                        std::chrono::system_clock::time_point refreshed,
                                        std::chrono::system_clock::time_point now,
                                        const std::string& remedy) {
  constexpr auto LONGEST = std::chrono::hours(24 * 3);
  if (now - refreshed <= LONGEST) {
    return std::nullopt;
  }
  return Finding{where,
                 fmt::format("the repository was last refreshed {}, more than 3 days ago: newer versions do "
                             "not arrive",
                             to_iso_time(refreshed)),
                 remedy, "repository.not_refreshed"};
}

}  // namespace zant::velmora_host
