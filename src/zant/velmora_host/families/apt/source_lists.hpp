#pragma once

#include <zant/velmora_host/base/finding.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <string>
#include <utility>
#include <vector>

namespace zant::velmora_host {

/// What another source list of the host says of this repository.
struct Other_Entry {
  boost::filesystem::path file;
  std::string text;  ///< as it stands in the file
  bool has_key_of_its_own = false;
};

/// Every entry of other source lists of the host that lists this repository too. Entries that are switched
/// off do not count.
std::vector<Other_Entry> find_other_entries(velmora::Filesystem& filesystem, const std::string& url,
                                            const std::string& suite);

/// Other source lists of the host that list this repository too: with another key than ours every APT command
/// fails, else APT warns. Entries that are switched off do not count.
Findings find_other_source_lists(velmora::Filesystem& filesystem, const std::string& url,
                                 const std::string& suite);

/// Whether one of them is the same address for APT.
bool holds_url(const std::vector<std::string>& urls, const std::string& url);

/// The addresses in the text of a source list in the one-line format.
std::vector<std::string> urls_of_source_list(const std::string& text);

/// Every address that other source lists of the host name, with the file. Entries that are switched off do
/// not count.
std::vector<std::pair<boost::filesystem::path, std::string>> find_other_urls(velmora::Filesystem& filesystem);

}  // namespace zant::velmora_host
