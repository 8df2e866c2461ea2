#pragma once

#include <zant/velmora_host/base/finding.hpp>

#include <chrono>
#include <optional>
#include <string>

namespace zant::velmora_host {

/// What is found when a repository was last refreshed more than three days ago; else nothing.
///
/// @param where the file that tells.
std::optional<Finding> find_old_refresh(const std::string& where,
                                        std::chrono::system_clock::time_point refreshed,
                                        std::chrono::system_clock::time_point now, const std::string& remedy);

}  // namespace zant::velmora_host
