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

/// What helps when the signature is refused.
std::string remedy_for_signature(const Outlook_Question& question);

/// @param index where APT keeps the repository's list of packages, whether it is there or not.
/// @param is_asked whether the repository itself has just been asked, and so has told why it is refused.
Refresh_State find_refresh_state(const Outlook_Question& question, const std::string& index, bool is_asked);

}  // namespace zant::velmora_host::apt_outlook
