#pragma once

#include <zant/velmora_host/families/apt/upgrade_units.hpp>
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

/// What helps when the signature is refused.
std::string remedy_for_signature(const Outlook_Question& question);

/// @param index where APT keeps the repository's list of packages, whether it is there or not.
/// @param is_asked whether the repository itself has just been asked, and so has told why it is refused.
/// @param last_run when the host's service last began to refresh; nothing when it did not, or did not have
/// to.
Refresh_State find_refresh_state(const Outlook_Question& question, const std::string& index, bool is_asked,
                                 const std::optional<std::chrono::system_clock::time_point>& last_run,
                                 const Upgrade_Units& units);

}  // namespace zant::velmora_host::apt_outlook
