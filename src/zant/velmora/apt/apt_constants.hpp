#pragma once

#include <zant/velmora/export.hpp>

#include <array>
#include <string>

/// Every name, path and command line of the APT family. Built once when the library is loaded.
namespace zant::velmora::APT_Constants {

// Names
extern PACKAGE_MINDER_EXPORT const char* const APT_UPGRADE_TIMER;
extern PACKAGE_MINDER_EXPORT const char* const APT_REPO_KEYRING_FILE;
extern PACKAGE_MINDER_EXPORT const char* const APT_SOURCE_LIST_FILE;
extern PACKAGE_MINDER_EXPORT const char* const APT_AUTO_UPGRADES_FILE;
extern PACKAGE_MINDER_EXPORT const char* const APT_UNATTENDED_UPGRADES_FILE;
extern PACKAGE_MINDER_EXPORT const char* const APT_LOWERSPEED_FILE;

/// The configuration files of the unattended-upgrades service. Every list of service files follows this
/// order; source and target lists are paired by index.
extern PACKAGE_MINDER_EXPORT const std::array<std::string, 3> UNATTENDED_UPGRADE_SERVICE_FILENAMES;

// The default repository
extern PACKAGE_MINDER_EXPORT const char* const DEFAULT_APT_REPO_HOST;
extern PACKAGE_MINDER_EXPORT const std::string SECURE_DEFAULT_REPO_URL;
extern PACKAGE_MINDER_EXPORT const std::string PLAIN_DEFAULT_REPO_URL;
extern PACKAGE_MINDER_EXPORT const char* const DEFAULT_CHANNEL_FORMAT;
extern PACKAGE_MINDER_EXPORT const char* const DEFAULT_ORIGINS_PATTERN;
extern PACKAGE_MINDER_EXPORT const int DEFAULT_BANDWIDTH_LIMIT;

// Paths on the host
extern PACKAGE_MINDER_EXPORT const char* const APT_GLOBAL_CONFIG_DIR;
extern PACKAGE_MINDER_EXPORT const std::string APT_CONFIG_BACKUP_DIR;
extern PACKAGE_MINDER_EXPORT const std::string REPO_KEYRING_PATH;
extern PACKAGE_MINDER_EXPORT const std::string SOURCE_LIST_PATH;
extern PACKAGE_MINDER_EXPORT const std::string TIMER_OVERRIDE_DIR;
extern PACKAGE_MINDER_EXPORT const std::string TIMER_ON_CALENDAR_FILE;
extern PACKAGE_MINDER_EXPORT const std::string TIMER_RANDOMIZED_DELAY_FILE;

// Command lines
extern PACKAGE_MINDER_EXPORT const std::string ARCHITECTURE_QUERY;
extern PACKAGE_MINDER_EXPORT const char* const REFRESH_REPOS;
extern PACKAGE_MINDER_EXPORT const std::string REPO_POLICY_QUERY;
extern PACKAGE_MINDER_EXPORT const std::string HOLD_QUERY;
extern PACKAGE_MINDER_EXPORT const std::string HOLD_PACKAGE;
extern PACKAGE_MINDER_EXPORT const std::string UNHOLD_PACKAGE;
extern PACKAGE_MINDER_EXPORT const char* const UNATTENDED_UPGRADES_PRESENCE;
extern PACKAGE_MINDER_EXPORT const char* const INSTALL_UNATTENDED_UPGRADES;
extern PACKAGE_MINDER_EXPORT const char* const START_UNATTENDED_UPGRADES;
extern PACKAGE_MINDER_EXPORT const std::string START_TIMER;
extern PACKAGE_MINDER_EXPORT const std::string TIMER_STATUS;
extern PACKAGE_MINDER_EXPORT const std::string TIMER_NEEDS_RELOAD;
extern PACKAGE_MINDER_EXPORT const std::string RELOAD_TIMER;

}  // namespace zant::velmora::APT_Constants
