#pragma once

#include <zant/velmora_host/base/finding.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <string>

namespace zant::velmora_host {

/// Other source lists of the host that list this repository too: with another key than ours every APT command
/// fails, else APT warns. Entries that are switched off do not count.
Findings find_other_source_lists(velmora::Filesystem& filesystem, const std::string& url,
                                 const std::string& suite);

}  // namespace zant::velmora_host
