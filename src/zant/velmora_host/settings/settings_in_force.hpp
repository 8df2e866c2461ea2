#pragma once

#include <zant/velmora_host/settings/settings.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <map>
#include <optional>
#include <string>

namespace zant::velmora_host {

/// What a process that minds the package writes down of the settings it started with.
struct Settings_In_Force {
  std::string process;                        ///< its id, to tell it from one that has ended since
  std::map<std::string, std::string> values;  ///< by key; without those that are not set

  bool operator==(const Settings_In_Force&) const = default;
};

/// The file in the state directory that holds it, which is whole or not there.
namespace settings_in_force {

boost::filesystem::path file_in(const boost::filesystem::path& state_directory);

/// Those of this process.
Settings_In_Force of_this_process(const Settings& settings);

/// False when it could not be written; the file is then what it was.
bool write(velmora::Filesystem& filesystem, const boost::filesystem::path& state_directory,
           const Settings_In_Force& settings);

/// Nothing when the file is missing or holds something else.
std::optional<Settings_In_Force> read(velmora::Filesystem& filesystem,
                                      const boost::filesystem::path& state_directory);

/// Removes the file, if it is there.
void remove(velmora::Filesystem& filesystem, const boost::filesystem::path& state_directory);

}  // namespace settings_in_force
}  // namespace zant::velmora_host
