#pragma once

#include <zant/velmora_host/base/finding.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// Other files of the host's DNF that use this repository's address or id. Repositories that are switched off
/// count only when they have the id.
Findings find_other_repository_files(velmora::Filesystem& filesystem, const std::string& base_url);

/// Whether the text of our repository file keeps DNF from seeing packages of the repository: how a hold is
/// set.
bool excludes_packages(const std::string& repository_file);

/// Whether the text of our repository file has just these patterns in "includepkgs".
bool included_packages_are(const std::string& repository_file, const std::vector<std::string>& patterns);

}  // namespace zant::velmora_host
