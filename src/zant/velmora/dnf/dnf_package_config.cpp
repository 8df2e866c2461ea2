#include <zant/velmora/dnf/dnf_package_config.hpp>

#include <zant/velmora/dnf/dnf_constants.hpp>
#include <zant/velmora/file_generation/dnf_package_config_file_generator.hpp>
#include <zant/velmora/host/command_success.hpp>
#include <zant/velmora/package_minder/errors.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>

#include <Poco/AutoPtr.h>
#include <Poco/Util/IniFileConfiguration.h>
#include <fmt/format.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <array>
#include <sstream>
#include <string>
#include <utility>

namespace zant::velmora {
namespace {

constexpr const char* BASE_URL_OPTION = "baseurl";
constexpr const char* THROTTLE_OPTION = "throttle";
constexpr const char* GPG_KEY_OPTION = "gpgkey";
constexpr std::array CONFIGURED_OPTIONS = {BASE_URL_OPTION, THROTTLE_OPTION, GPG_KEY_OPTION};

bool is_configured_option(const std::string& name) {
  return std::any_of(CONFIGURED_OPTIONS.begin(), CONFIGURED_OPTIONS.end(),
                     [&name](const char* option) { return boost::algorithm::iequals(name, option); });
}

bool ends_in_blank(std::string line) {
  boost::algorithm::trim_right_if(line, [](char c) { return c == '\r'; });
  return boost::algorithm::ends_with(line, " ") || boost::algorithm::ends_with(line, "\t");
}

// As the INI parser has it: blanks beside the name and text behind the bracket do not count.
bool opens_our_section(const std::string& line) {
  const std::string name = line.substr(1, line.find(']') - 1);
  return boost::algorithm::iequals(boost::algorithm::trim_copy(name), DNF_Constants::DNF_REPO_ID);
}

// The INI parser trims values, so it cannot show that one of ours has been given a trailing blank.
bool a_configured_value_ends_in_blank(const std::string& text) {
  std::istringstream lines(text);
  bool in_our_section = false;
  for (std::string line; std::getline(lines, line);) {
    const std::string trimmed = boost::algorithm::trim_copy(line);
    if (boost::algorithm::starts_with(trimmed, "[")) {
      in_our_section = opens_our_section(trimmed);
    } else if (in_our_section && ends_in_blank(line) &&
               is_configured_option(boost::algorithm::trim_copy(line.substr(0, line.find('='))))) {
      return true;
    }
  }
  return false;
}

}  // namespace

using Package_Constants::PACKAGE_NAME;
using zant::logging::severity_level;

DNF_Package_Config::DNF_Package_Config(std::shared_ptr<Filesystem> filesystem, std::shared_ptr<System> system,
                                       const boost::filesystem::path& staging_directory,
                                       const DNF_Repo_Config& repo_config,
                                       const DNF_Unattended_Upgrade_Config& unattended_upgrade_config)
    : filesystem_(std::move(filesystem)),
      system_(std::move(system)),
      repo_config_(repo_config),
      unattended_upgrade_config_(unattended_upgrade_config) {
  log_.init_("DNF_Package_Config", "");
  generate_files_from_templates_(staging_directory);
}

Package_Config_Type DNF_Package_Config::type() const {
  return Package_Config_Type::DNF;
}

void DNF_Package_Config::setup_repo_if_necessary() {
  install_repo_file_if_necessary_();
  import_repo_gpg_key_();
}

void DNF_Package_Config::setup_unattended_upgrades_if_necessary() {
  if (!unattended_upgrade_config_.enabled) {
    return;
  }
  install_dnf_automatic_if_necessary_();
  unattended_upgrade_config_.timer_manager->initialize_timer();
}

void DNF_Package_Config::purge_unattended_upgrade_configuration() {
  unattended_upgrade_config_.timer_manager->restore_timer();
}

void DNF_Package_Config::purge_all_configurations() {
  remove_repo_file_if_necessary_();
  purge_unattended_upgrade_configuration();
}

void DNF_Package_Config::generate_files_from_templates_(const boost::filesystem::path& staging_directory) {
  DNF_Package_Config_File_Generator generator(filesystem_, staging_directory / "config-files" / "dnf",
                                              repo_config_, unattended_upgrade_config_);
  generator.generate_repo_files();
  generator.generate_upgrade_timer_overrides();
}

bool DNF_Package_Config::verify_repo_file_() {
  const std::string text = filesystem_->read_file(repo_config_.installed_repo_file, Read_Flag::WHOLE_TEXT);
  std::istringstream stream(text);
  const Poco::AutoPtr<Poco::Util::IniFileConfiguration> installed(
      new Poco::Util::IniFileConfiguration(stream));
  // Raw values: the file is DNF's, and "${...}" in it is no reference of ours.
  const auto says = [&installed](const char* option, const std::string& value) {
    return installed->getRawString(fmt::format("{}.{}", DNF_Constants::DNF_REPO_ID, option), "") == value;
  };
  return says(BASE_URL_OPTION, repo_config_.base_url) && says(THROTTLE_OPTION, repo_config_.throttle) &&
         says(GPG_KEY_OPTION, repo_config_.gpg_key_url) && !a_configured_value_ends_in_blank(text);
}

void DNF_Package_Config::install_repo_file_if_necessary_() {
  if (verify_repo_file_()) {
    return;
  }
  ZANT_LOG(log_, severity_level::notice) << fmt::format("Updating DNF to include {} repository | URL: {}",
                                                        DNF_Constants::DNF_REPO_ID, repo_config_.base_url);
  if (!filesystem_->copy_file(repo_config_.staged_repo_file, repo_config_.installed_repo_file,
                              Copy_Option::OVERWRITE_EXISTING)) {
    throw_host_step_failed("Failed to install repository file: " + DNF_Constants::DNF_REPO_FILE);
  }
}

bool DNF_Package_Config::remove_repo_file_if_necessary_() {
  const auto& installed = repo_config_.installed_repo_file;
  if (!filesystem_->exists(installed)) {
    return true;
  }
  ZANT_LOG(log_, severity_level::notice)
      << fmt::format("Removing {} repository file: {}", PACKAGE_NAME, installed.string());
  return filesystem_->remove(installed);
}

void DNF_Package_Config::import_repo_gpg_key_() {
  const std::string command =
      fmt::format(fmt::runtime(DNF_Constants::IMPORT_KEY_FORMAT), repo_config_.gpg_key_url);
  if (command_succeeds(*system_, command)) {
    ZANT_LOG(log_, severity_level::debug)
        << fmt::format("Successfully imported the repository GPG key: {}", repo_config_.gpg_key_url);
  }
}

void DNF_Package_Config::install_dnf_automatic_if_necessary_() {
  if (command_succeeds(*system_, DNF_Constants::DNF_AUTOMATIC_PRESENCE)) {
    return;
  }
  ZANT_LOG(log_, severity_level::notice) << "Installing the dnf-automatic package";
  if (!command_succeeds(*system_, DNF_Constants::INSTALL_DNF_AUTOMATIC)) {
    throw_host_step_failed("Failed to install the dnf-automatic package");
  }
}

}  // namespace zant::velmora
