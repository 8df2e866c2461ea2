#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <chrono>
#include <optional>
#include <string>

namespace zant::velmora_host::apt_outlook {

/// How well APT knows the repository.
struct Refresh_State {
  std::optional<std::chrono::system_clock::time_point> refreshed;
  Causes causes;
};

/// @param index where APT keeps the repository's list of packages, whether it is there or not.
Refresh_State find_refresh_state(const Outlook_Question& question, const std::string& index);

}  // namespace zant::velmora_host::apt_outlook
