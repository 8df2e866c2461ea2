#include <zant/velmora_host/families/apt/repository_pin.hpp>

#include <zant/velmora_host/families/apt/source_lists.hpp>

#include <zant/velmora/apt/apt_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/join.hpp>

#include <stdexcept>
#include <utility>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using zant::logging::severity_level;
namespace APT_Constants = velmora::APT_Constants;

// The general form sets the priority of the whole server; the one that names packages goes before it.
constexpr const char* PREFERENCES =
    "Explanation: Installed by package-minder: its setting minder.repository_packages says\n"
    "Explanation: which packages may come from this server. Changes are put back.\n"
    "Package: *\n"
    "Pin: origin \"{0}\"\n"
    "Pin-Priority: -1\n"
    "\n"
    "Package: {1}\n"
    "Pin: origin \"{0}\"\n"
    "Pin-Priority: 500\n";

bool is_same_site(const std::string& url, const std::string& site) {
  return boost::algorithm::to_lower_copy(site_of(url)) == boost::algorithm::to_lower_copy(site);
}

}  // namespace

std::string site_of(const std::string& url) {
  const std::size_t scheme_end = url.find("://");
  if (scheme_end == std::string::npos) {
    return "";
  }
  const std::string authority = url.substr(scheme_end + 3, url.find('/', scheme_end + 3) - scheme_end - 3);
  const std::string host = authority.substr(authority.rfind('@') + 1);
  if (host.starts_with('[')) {
    return host.substr(1, host.find(']') - 1);
  }
  return host.substr(0, host.find(':'));
}

Findings find_repositories_on_site(velmora::Filesystem& filesystem, const std::string& site,
                                   const std::vector<std::string>& our_urls) {
  Findings findings;
  for (const auto& [file, url] : find_other_urls(filesystem)) {
    if (is_same_site(url, site) && !holds_url(our_urls, url)) {
      findings.push_back({file.string(),
                          fmt::format("lists {}, a repository on the same server: minder.repository_packages "
                                      "would block its packages",
                                      url),
                          fmt::format("have it served under another name than {}, or leave "
                                      "minder.repository_packages empty",
                                      site),
                          "repository.server_shared"});
    }
  }
  return findings;
}

Repository_Pin::Repository_Pin(std::shared_ptr<velmora::Filesystem> filesystem,
                               std::vector<std::string> patterns, const path& staging_directory)
    : filesystem_(std::move(filesystem)),
      patterns_(std::move(patterns)),
      source_list_(staging_directory / "config-files" / "apt" / APT_Constants::APT_SOURCE_LIST_FILE),
      staged_file_(staging_directory / "config-files" / "apt" / path(FILE).filename()) {
  log_.init_("Repository_Pin", "");
}

void Repository_Pin::render() {
  if (patterns_.empty()) {
    return;
  }
  const auto urls = urls_of_source_list(filesystem_->read_file(source_list_, velmora::Read_Flag::WHOLE_TEXT));
  site_ = urls.size() == 1 ? site_of(urls.front()) : "";
  const std::string text =
      fmt::format(fmt::runtime(PREFERENCES), site_, boost::algorithm::join(patterns_, " "));
  if (!filesystem_->write_file(staged_file_, text, velmora::Write_Flag::REPLACE)) {
    throw std::runtime_error(fmt::format("Failed to generate {}", staged_file_.string()));
  }
}

void Repository_Pin::set_up_if_necessary() {
  if (patterns_.empty()) {
    remove_if_there_();
    return;
  }
  if (site_.empty()) {
    throw std::runtime_error(
        "minder.repository_packages cannot be put in force: the source list names no server to tell the "
        "repository's packages by");
  }
  const auto urls = urls_of_source_list(filesystem_->read_file(source_list_, velmora::Read_Flag::WHOLE_TEXT));
  if (const Findings others = find_repositories_on_site(*filesystem_, site_, urls); !others.empty()) {
    throw std::runtime_error(to_string(others.front()));
  }
  if (filesystem_->files_equal(staged_file_, FILE)) {
    return;
  }
  ZANT_LOG(log_, severity_level::notice)
      << fmt::format("Limiting what APT installs from {} to these packages: {}", site_,
                     boost::algorithm::join(patterns_, " "));
  if (!filesystem_->copy_file(staged_file_, FILE, velmora::Copy_Option::OVERWRITE_EXISTING)) {
    throw std::runtime_error(fmt::format("Failed to install {}", FILE));
  }
}

void Repository_Pin::purge() {
  remove_if_there_();
}

void Repository_Pin::remove_if_there_() {
  if (!filesystem_->exists(FILE)) {
    return;
  }
  ZANT_LOG(log_, severity_level::notice)
      << fmt::format("Removing the limit on what APT installs from the repository: {}", FILE);
  if (!filesystem_->remove(path(FILE))) {
    throw std::runtime_error(fmt::format("Could not remove {}", FILE));
  }
}

}  // namespace zant::velmora_host
