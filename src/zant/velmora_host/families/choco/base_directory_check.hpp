#pragma once

#include <zant/velmora_host/base/finding.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <boost/filesystem/path.hpp>

namespace zant::velmora_host {

/// The directory that has Chocolatey's own directory in it.
boost::filesystem::path base_directory_of(const Settings& settings);

/// Where choco.exe is below it.
boost::filesystem::path choco_program(const Settings& settings);

/// What is wrong with the directory, whose path becomes part of command lines, and who could put another
/// program there.
Findings find_base_directory_faults(const Settings& settings);

}  // namespace zant::velmora_host
