#include <zant/velmora_host/families/apt/source_lists.hpp>

#include <zant/velmora_host/families/same_address.hpp>

#include <zant/velmora/apt/apt_constants.hpp>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <boost/filesystem/path.hpp>

#include <algorithm>
#include <array>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;

// What one entry of a source list says.
struct Listing {
  std::vector<std::string> urls;
  std::vector<std::string> suites;
  bool has_key_of_its_own = false;
  std::string text = {};
};

std::vector<std::string> words_of(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  boost::algorithm::split(lines, text, boost::algorithm::is_any_of("\n"));
  return lines;
}

// "deb [OPTIONS] URL SUITE COMPONENT..."
std::vector<Listing> listings_of_one_line_format(const std::string& text) {
  std::vector<Listing> listings;
  for (const auto& line : lines_of(text)) {
    const auto words = words_of(line);
    if (words.empty() || (words[0] != "deb" && words[0] != "deb-src")) {
      continue;
    }
    const std::size_t options_end = line.find(']');
    const bool has_options = words.size() > 1 && words[1].front() == '[' && options_end != std::string::npos;
    const auto rest = has_options ? words_of(line.substr(options_end + 1))
                                  : std::vector<std::string>(words.begin() + 1, words.end());
    if (rest.size() >= 2) {
      const bool has_key =
          has_options && boost::algorithm::icontains(line.substr(0, options_end), "signed-by=");
      listings.push_back({{rest[0]}, {rest[1]}, has_key, line + "\n"});
    }
  }
  return listings;
}

using Stanza = std::map<std::string, std::string>;

// What APT takes for "no".
bool is_no_for_apt(const std::string& text) {
  static const std::array<const char*, 6> words = {"no", "false", "without", "off", "disable", "0"};
  const std::string word = boost::algorithm::to_lower_copy(boost::algorithm::trim_copy(text));
  return std::find(words.begin(), words.end(), word) != words.end();
}

Listing listing_of(const Stanza& stanza) {
  const auto field = [&stanza](const char* name) {
    const auto found = stanza.find(name);
    return found == stanza.end() ? std::string() : found->second;
  };
  if (is_no_for_apt(field("enabled"))) {
    return {};
  }
  return {words_of(field("uris")), words_of(field("suites")), stanza.contains("signed-by")};
}

// Stanzas of "Field: value", in which lines that start with a blank continue the one before.
std::vector<Listing> listings_of_stanza_format(const std::string& text) {
  std::vector<Listing> listings;
  Stanza stanza;
  std::string stanza_text;
  std::string last_field;
  auto lines = lines_of(text);
  lines.emplace_back();
  for (const auto& line : lines) {
    const std::size_t separator = line.find(':');
    if (boost::algorithm::trim_copy(line).empty()) {
      listings.push_back(listing_of(stanza));
      listings.back().text = std::exchange(stanza_text, "");
      stanza.clear();
      continue;
    }
    stanza_text += line + "\n";
    if (line.front() == '#') {
      continue;
    }
    if (line.front() == ' ' || line.front() == '\t') {
      stanza[last_field] += line;
    } else if (separator != std::string::npos) {
      last_field = boost::algorithm::to_lower_copy(line.substr(0, separator));
      stanza[last_field] = line.substr(separator + 1);
    }
  }
  return listings;
}

std::vector<path> other_source_lists(velmora::Filesystem& filesystem) {
  const path directory = path(velmora::APT_Constants::SOURCE_LIST_PATH).parent_path();
  std::vector<path> files = {"/etc/apt/sources.list"};
  for (const char* const extension : {".list", ".sources"}) {
    const auto found = filesystem.list_files(directory, extension);
    files.insert(files.end(), found.begin(), found.end());
  }
  std::erase(files, path(velmora::APT_Constants::SOURCE_LIST_PATH));
  return files;
}

std::vector<Listing> listings_of(velmora::Filesystem& filesystem, const path& file) {
  const std::string text = filesystem.read_file(file, velmora::Read_Flag::WHOLE_TEXT);
  return file.extension() == ".sources" ? listings_of_stanza_format(text) : listings_of_one_line_format(text);
}

Finding other_apt_listing(const path& file, bool has_key_of_its_own) {
  const char* const remedy = "remove the repository from that file: package-minder registers it";
  if (has_key_of_its_own) {
    return {
        file.string(),
        "lists the same repository with a key of its own (signed-by): APT fails, or checks it with that key",
        remedy, "repository.listed_with_another_key"};
  }
  return {file.string(), "lists the same repository a second time", remedy, "repository.listed_twice"};
}

}  // namespace

bool holds_url(const std::vector<std::string>& urls, const std::string& url) {
  return std::any_of(urls.begin(), urls.end(),
                     [&url](const std::string& candidate) { return is_same_address(candidate, url); });
}

std::vector<Other_Entry> find_other_entries(velmora::Filesystem& filesystem, const std::string& url,
                                            const std::string& suite) {
  std::vector<Other_Entry> entries;
  for (const auto& file : other_source_lists(filesystem)) {
    for (const auto& listing : listings_of(filesystem, file)) {
      const auto& suites = listing.suites;
      if (holds_url(listing.urls, url) && std::find(suites.begin(), suites.end(), suite) != suites.end()) {
        entries.push_back({file, listing.text, listing.has_key_of_its_own});
      }
    }
  }
  return entries;
}

Findings find_other_source_lists(velmora::Filesystem& filesystem, const std::string& url,
                                 const std::string& suite) {
  Findings findings;
  for (const auto& entry : find_other_entries(filesystem, url, suite)) {
    findings.push_back(other_apt_listing(entry.file, entry.has_key_of_its_own));
  }
  return findings;
}

std::vector<std::string> urls_of_source_list(const std::string& text) {
  std::vector<std::string> urls;
  for (const auto& listing : listings_of_one_line_format(text)) {
    urls.insert(urls.end(), listing.urls.begin(), listing.urls.end());
  }
  return urls;
}

std::vector<std::pair<path, std::string>> find_other_urls(velmora::Filesystem& filesystem) {
  std::vector<std::pair<path, std::string>> urls;
  for (const auto& file : other_source_lists(filesystem)) {
    for (const auto& listing : listings_of(filesystem, file)) {
      for (const auto& url : listing.urls) {
        urls.emplace_back(file, url);
      }
    }
  }
  return urls;
}

}  // namespace zant::velmora_host
