#include <zant/velmora_host/families/dnf/included_packages.hpp>

#include <zant/velmora_host/families/dnf/repository_files.hpp>

#include <zant/velmora/dnf/dnf_constants.hpp>

#include <fmt/format.h>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using zant::logging::severity_level;
namespace DNF_Constants = velmora::DNF_Constants;

constexpr const char* OPTION = "includepkgs";
constexpr const char* MARK = "# The setting minder.repository_packages of package-minder:";

bool is_section_head(const std::string& trimmed) {
  return trimmed.starts_with('[') && trimmed.ends_with(']');
}

bool sets_option(const std::string& line) {
  return boost::algorithm::trim_copy(line.substr(0, line.find('='))) == OPTION;
}

bool continues_a_value(const std::string& line) {
  return line.starts_with(' ') || line.starts_with('\t');
}

// Such a line ends no value of several lines.
bool says_nothing(const std::string& line, const std::string& trimmed) {
  return trimmed.empty() || trimmed.front() == '#' || trimmed.front() == ';' ||
         (!is_section_head(trimmed) && !continues_a_value(line) && trimmed.find('=') == std::string::npos);
}

// The vendor's own value gives way to the administrator's.
std::string with_option(const std::string& text, const std::string& value) {
  std::string result;
  bool is_dropping = false;
  bool is_first =
      false;  // after the head of a section: a blank before it must not make it a part of our value
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::string trimmed = boost::algorithm::trim_copy(line);
    if (says_nothing(line, trimmed)) {
      result += trimmed == MARK ? "" : line + "\n";
      continue;
    }
    const bool is_head = is_section_head(trimmed);
    is_dropping = !is_head && (sets_option(line) || (is_dropping && continues_a_value(line)));
    if (is_dropping) {
      continue;
    }
    result += (is_first ? boost::algorithm::trim_left_copy(line) : line) + "\n";
    is_first = is_head || (is_first && trimmed.find('=') == std::string::npos);
    if (is_head) {
      result += fmt::format("{}\n{}={}\n", MARK, OPTION, value);
    }
  }
  return result;
}

bool has_mark(const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (boost::algorithm::trim_copy(line) == MARK) {
      return true;
    }
  }
  return false;
}

// DNF skips a file with such a line, and all that is in it, while the library compares the options alone.
// Older releases take a colon for an equals sign.
bool has_a_line_without_meaning(const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::string trimmed = boost::algorithm::trim_copy(line);
    const bool may_mean_something =
        trimmed.empty() || std::string_view("#;[").find(trimmed.front()) != std::string_view::npos ||
        continues_a_value(line) || trimmed.find_first_of("=:") != std::string::npos;
    if (!may_mean_something) {
      return true;
    }
  }
  return false;
}

}  // namespace

Included_Packages::Included_Packages(std::shared_ptr<Host_Filesystem> filesystem,
                                     std::vector<std::string> patterns, const path& staging_directory)
    : filesystem_(std::move(filesystem)),
      patterns_(std::move(patterns)),
      template_(staging_directory / "config-files" / "dnf" / "templates" /
                (DNF_Constants::DNF_REPO_FILE + ".template")),
      staged_file_(staging_directory / "config-files" / "dnf" / DNF_Constants::DNF_REPO_FILE) {
  log_.init_("Included_Packages", "");
}

void Included_Packages::prepare_templates() {
  if (patterns_.empty()) {
    return;
  }
  const std::string text = filesystem_->read_file(template_, velmora::Read_Flag::WHOLE_TEXT);
  if (!filesystem_->write_file(template_, with_option(text, boost::algorithm::join(patterns_, " ")),
                               velmora::Write_Flag::REPLACE)) {
    throw std::runtime_error(fmt::format("Failed to prepare {}", template_.string()));
  }
}

void Included_Packages::set_up_if_necessary() {
  const path installed = DNF_Constants::REPO_FILE_PATH;
  // A file that is not there yet is installed whole with the repository.
  if (!filesystem_->exists(installed)) {
    return;
  }
  const std::string text = filesystem_->read_file(installed, velmora::Read_Flag::WHOLE_TEXT);
  if (patterns_.empty() && has_mark(text)) {
    install_("Removing the limit on what DNF installs from the repository");
  } else if (!patterns_.empty() && !included_packages_are(text, patterns_)) {
    install_(fmt::format("Limiting what DNF installs from the repository to these packages: {}",
                         boost::algorithm::join(patterns_, " ")));
  } else if (!filesystem_->has_common_access(installed)) {
    install_(fmt::format("Giving everybody access to {} again", installed.string()));
  } else if (has_a_line_without_meaning(text) && !has_a_line_without_meaning(filesystem_->read_file(
                                                     staged_file_, velmora::Read_Flag::WHOLE_TEXT))) {
    install_(fmt::format("Replacing {}, which DNF cannot read", installed.string()));
  }
}

void Included_Packages::install_(const std::string& reason) {
  ZANT_LOG(log_, severity_level::notice) << reason;
  const path installed = DNF_Constants::REPO_FILE_PATH;
  if (!filesystem_->copy_file(staged_file_, installed, velmora::Copy_Option::OVERWRITE_EXISTING)) {
    throw std::runtime_error(fmt::format("Failed to install {}", installed.string()));
  }
}

}  // namespace zant::velmora_host
