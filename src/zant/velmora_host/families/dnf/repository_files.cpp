#include <zant/velmora_host/families/dnf/repository_files.hpp>

#include <zant/velmora_host/families/same_address.hpp>

#include <zant/velmora/dnf/dnf_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <boost/filesystem/path.hpp>

#include <algorithm>
#include <array>
#include <map>
#include <sstream>
#include <vector>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
namespace DNF_Constants = velmora::DNF_Constants;

struct Repository {
  std::string id;
  std::map<std::string, std::string> options;

  std::string option(const std::string& name) const {
    const auto found = options.find(name);
    return found == options.end() ? "" : found->second;
  }
};

bool is_comment(const std::string& line) {
  return line.front() == '#' || line.front() == ';';
}

// Sections of "name=value", in which lines that start with a blank continue the one before.
std::vector<Repository> parse(const std::string& text) {
  std::vector<Repository> repositories;
  std::string last_option;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::string trimmed = boost::algorithm::trim_copy(line);
    if (trimmed.empty() || is_comment(trimmed)) {
      continue;
    }
    if (trimmed.front() == '[' && trimmed.back() == ']') {
      repositories.push_back({trimmed.substr(1, trimmed.size() - 2), {}});
      last_option.clear();
      continue;
    }
    if (repositories.empty()) {
      continue;
    }
    auto& options = repositories.back().options;
    const std::size_t separator = trimmed.find('=');
    if ((line.front() == ' ' || line.front() == '\t') && !last_option.empty()) {
      options[last_option] += " " + trimmed;
    } else if (separator != std::string::npos) {
      last_option = boost::algorithm::trim_copy(trimmed.substr(0, separator));
      options[last_option] = boost::algorithm::trim_copy(trimmed.substr(separator + 1));
    }
  }
  return repositories;
}

// What DNF takes for "no".
bool is_no_for_dnf(const std::string& text) {
  static const std::array<const char*, 4> words = {"0", "no", "false", "off"};
  return std::find(words.begin(), words.end(), boost::algorithm::to_lower_copy(text)) != words.end();
}

// DNF separates lists by blanks, commas or both.
std::vector<std::string> words_of(std::string list) {
  std::replace(list.begin(), list.end(), ',', ' ');
  std::istringstream words(list);
  return {std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()};
}

bool uses_address(const Repository& repository, const std::string& base_url) {
  const auto addresses = words_of(repository.option("baseurl"));
  return std::any_of(addresses.begin(), addresses.end(),
                     [&base_url](const std::string& address) { return is_same_address(address, base_url); });
}

Repository section_of(const std::string& text, const std::string& id) {
  for (const auto& repository : parse(text)) {
    if (repository.id == id) {
      return repository;
    }
  }
  return {};
}

void find_in_file(const path& file, const std::string& text, const std::string& base_url,
                  Findings& findings) {
  const char* const remedy = "remove it from that file: package-minder registers the repository";
  for (const auto& repository : parse(text)) {
    if (repository.id == DNF_Constants::DNF_REPO_ID) {
      findings.push_back({file.string(),
                          fmt::format("defines a repository with the same id, [{}]", repository.id), remedy,
                          "repository.id_used_twice"});
    }
    if (uses_address(repository, base_url) && !is_no_for_dnf(repository.option("enabled"))) {
      findings.push_back({file.string(),
                          "lists the same repository a second time: a hold or throttle of package-minder's "
                          "does not reach it",
                          remedy, "repository.listed_twice"});
    }
  }
}

}  // namespace

Findings find_other_repository_files(velmora::Filesystem& filesystem, const std::string& base_url) {
  Findings findings;
  const path ours = DNF_Constants::REPO_FILE_PATH;
  for (const auto& file : filesystem.list_files(ours.parent_path(), ".repo")) {
    if (file != ours) {
      find_in_file(file, filesystem.read_file(file, velmora::Read_Flag::WHOLE_TEXT), base_url, findings);
    }
  }
  return findings;
}

bool excludes_packages(const std::string& repository_file) {
  const auto repositories = parse(repository_file);
  return std::any_of(repositories.begin(), repositories.end(), [](const Repository& repository) {
    return repository.id == DNF_Constants::DNF_REPO_ID &&
           !(repository.option("exclude") + repository.option("excludepkgs")).empty();
  });
}

bool included_packages_are(const std::string& repository_file, const std::vector<std::string>& patterns) {
  const auto repositories = parse(repository_file);
  return std::all_of(repositories.begin(), repositories.end(), [&patterns](const Repository& repository) {
    return repository.id != DNF_Constants::DNF_REPO_ID ||
           words_of(repository.option("includepkgs")) == patterns;
  });
}

Findings find_weak_options(const std::string& repository_file, const std::string& main_configuration) {
  struct Weak_Option {
    const char* name;
    bool is_off_by_default;
    const char* effect;
    const char* code;
  };
  static const std::array<Weak_Option, 4> weak = {{
      {"enabled", false, "DNF does not read the repository: no upgrade arrives", "repository.switched_off"},
      {"gpgcheck", true, "packages are installed without a valid signature", "repository.unsigned_accepted"},
      {"sslverify", false, "anybody on the network can pose as the server", "repository.server_not_verified"},
      {"proxy_sslverify", false, "anybody on the network can pose as the proxy",
       "repository.server_not_verified"},
  }};
  const Repository ours = section_of(repository_file, DNF_Constants::DNF_REPO_ID);
  const Repository main = section_of(main_configuration, "main");
  Findings findings;
  for (const auto& option : weak) {
    const std::string own = ours.option(option.name);
    const bool is_repositorys_alone = std::string(option.name) == "enabled";
    const std::string general = is_repositorys_alone ? "" : main.option(option.name);
    const bool is_general = own.empty() && !general.empty();
    const std::string value = is_general ? general : own;
    if (value.empty() ? option.is_off_by_default : is_no_for_dnf(value)) {
      findings.push_back(
          {is_general ? "/etc/dnf/dnf.conf" : DNF_Constants::REPO_FILE_PATH,
           fmt::format("{} {}: {}", option.name, value.empty() ? "is not set" : "is off", option.effect),
           is_general ? "remove it from that file" : "delete the file: the next cycle writes it again",
           option.code});
    }
  }
  return findings;
}

}  // namespace zant::velmora_host
