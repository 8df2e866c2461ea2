#pragma once

#include <zant/velmora_host/base/finding.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <string>

namespace zant::velmora_host {

/// Other files of the host's DNF that use this repository's address or id. Repositories that are switched off
/// count only when they have the id.
Findings find_other_repository_files(velmora::Filesystem& filesystem, const std::string& base_url);

/// Whether the text of our repository file keeps DNF from seeing packages of the repository: how a hold is
/// set.
bool excludes_packages(const std::string& repository_file);

}  // namespace zant::velmora_host
