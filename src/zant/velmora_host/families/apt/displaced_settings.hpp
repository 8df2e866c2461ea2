#pragma once

#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host {

/// What an APT configuration file says and the one that takes its place does not.
///
/// @param before       the host's file.
/// @param after        the file in its place.
/// @param later_files  texts of the files that are read after it, and repeat what is to stay in force.
/// @param distribution as origins name it, such as "Debian".
/// @return the name of each setting, and what becomes of it.
std::vector<std::pair<std::string, std::string>> find_displaced_apt_settings(
    const std::string& before, const std::string& after, const std::vector<std::string>& later_files,
    const std::string& distribution);

}  // namespace zant::velmora_host
