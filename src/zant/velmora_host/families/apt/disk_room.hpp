#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <boost/filesystem/path.hpp>

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
///
/// @param log the directory of unattended-upgrade's log.
Causes find_full_disks(const Outlook_Question& question, const Needed_Room& needed,
                       const boost::filesystem::path& log);

/// A /tmp that APT's own user cannot write into, which checks signatures there.
///
/// @param user as APT's settings have it.
Causes find_closed_temporary_directory(const Outlook_Question& question, const std::string& user);

}  // namespace zant::velmora_host::apt_outlook
