#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <chrono>
#include <optional>
#include <string>

namespace zant::velmora_host {

/// What is found when a timer starts nothing for more than eight days; else nothing. A schedule of once a
/// month brings an upgrade late, so what will become of it is told to be unknown; one of more than two months
/// blocks it.
///
/// @param evidence where that stands.
/// @param remedy for a schedule that is not the host's usual one.
std::optional<Cause> find_far_run(const std::string& timer, std::chrono::system_clock::time_point next,
                                  std::chrono::system_clock::time_point now, const std::string& evidence,
                                  const std::string& remedy);

}  // namespace zant::velmora_host
