#pragma once

#include <zant/velmora/export.hpp>

#include <string>

/// Every name, path and command line of the DNF family. Built once when the library is loaded.
namespace zant::velmora::DNF_Constants {

// Names
extern PACKAGE_MINDER_EXPORT const char* const DNF_REPO_ID;
extern PACKAGE_MINDER_EXPORT const char* const DNF_REPO_NAME;
extern PACKAGE_MINDER_EXPORT const char* const DNF_AUTOMATIC_TIMER;
extern PACKAGE_MINDER_EXPORT const std::string DNF_REPO_FILE;

// The default repository
extern PACKAGE_MINDER_EXPORT const char* const DEFAULT_DNF_REPO_ROOT_URL;
extern PACKAGE_MINDER_EXPORT const std::string DEFAULT_REPO_URL;
extern PACKAGE_MINDER_EXPORT const std::string DEFAULT_GPG_KEY_URL;
extern PACKAGE_MINDER_EXPORT const char* const DEFAULT_CHANNEL;
extern PACKAGE_MINDER_EXPORT const char* const DEFAULT_THROTTLE;

// Paths on the host
extern PACKAGE_MINDER_EXPORT const std::string REPO_FILE_PATH;
extern PACKAGE_MINDER_EXPORT const std::string TIMER_OVERRIDE_DIR;
extern PACKAGE_MINDER_EXPORT const std::string TIMER_ON_CALENDAR_FILE;
extern PACKAGE_MINDER_EXPORT const std::string TIMER_RANDOMIZED_DELAY_FILE;

// Command lines
extern PACKAGE_MINDER_EXPORT const char* const CHECK_RHEL8_OR_GREATER;
extern PACKAGE_MINDER_EXPORT const char* const DNF_PRESENCE;
extern PACKAGE_MINDER_EXPORT const std::string LOCK_QUERY;
extern PACKAGE_MINDER_EXPORT const std::string EXCLUDE_PACKAGES;
extern PACKAGE_MINDER_EXPORT const std::string INCLUDE_PACKAGES;
extern PACKAGE_MINDER_EXPORT const char* const IMPORT_KEY_FORMAT;
extern PACKAGE_MINDER_EXPORT const char* const DNF_AUTOMATIC_PRESENCE;
extern PACKAGE_MINDER_EXPORT const char* const INSTALL_DNF_AUTOMATIC;
extern PACKAGE_MINDER_EXPORT const char* const DISABLE_CONFLICTING_TIMERS;
extern PACKAGE_MINDER_EXPORT const std::string START_TIMER;
extern PACKAGE_MINDER_EXPORT const std::string TIMER_STATUS;
extern PACKAGE_MINDER_EXPORT const std::string TIMER_NEEDS_RELOAD;
extern PACKAGE_MINDER_EXPORT const std::string RELOAD_TIMER;

}  // namespace zant::velmora::DNF_Constants
