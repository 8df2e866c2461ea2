#pragma once

#include <zant/velmora_host/base/finding.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <string>

namespace zant::velmora_host {

/// Other source lists of the host that name this repository: with another key than ours every APT command
/// fails, else APT warns.
Findings find_other_apt_listings(velmora::Filesystem& filesystem, const std::string& url,
                                 const std::string& suite);

/// Other files of the host's DNF that use this repository's address or id.
Findings find_other_dnf_listings(velmora::Filesystem& filesystem, const std::string& base_url);

}  // namespace zant::velmora_host
