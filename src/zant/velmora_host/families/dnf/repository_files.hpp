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
/// Options in force for our repository that have DNF accept what is not signed or whom it does not know, or
/// that keep it from reading the repository.
///
/// @param repository_file    the text of our repository file.
/// @param main_configuration the text of DNF's own, which holds where the repository says nothing.
Findings find_weak_options(const std::string& repository_file, const std::string& main_configuration);

}  // namespace zant::velmora_host
