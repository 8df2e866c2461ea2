#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <cstdint>
#include <string>

namespace zant::velmora_host::apt_outlook {

/// What the next version needs, in bytes; 0 when that is not known.
struct Needed_Room {
  std::uint64_t download = 0;
  std::uint64_t installed = 0;
  std::string archives = "/var/cache/apt/archives";  ///< where APT puts what it downloads
};

/// File systems that are full or cannot be written, of those that a refresh and an upgrade write to.
Causes find_full_disks(const Outlook_Question& question, const Needed_Room& needed);

/// A missing directory of APT's state, in which its daily jobs take their lock. Other commands of APT's make
/// it anew.
Causes find_missing_state(const Outlook_Question& question, const std::string& state_directory);

}  // namespace zant::velmora_host::apt_outlook
