#pragma once

#include <zant/velmora/export.hpp>

#include <string>

/// Every name and command line of the Chocolatey family. Built once when the library is loaded.
namespace zant::velmora::Choco_Constants {

// Names
extern PACKAGE_MINDER_EXPORT const char* const REPO_NAME;
extern PACKAGE_MINDER_EXPORT const char* const SCHTASKS_TASK_NAME;

// The default source
extern PACKAGE_MINDER_EXPORT const char* const DEFAULT_REPO_SRC_LOCATION_TEMPLATE;
extern PACKAGE_MINDER_EXPORT const char* const DEFAULT_CHANNEL;
extern PACKAGE_MINDER_EXPORT const char* const DEFAULT_SCHEDULE_OPTIONS;

// Arguments of choco.exe
extern PACKAGE_MINDER_EXPORT const char* const PIN_LIST_ARGUMENTS;
extern PACKAGE_MINDER_EXPORT const std::string PIN_ARGUMENTS;
extern PACKAGE_MINDER_EXPORT const std::string UNPIN_ARGUMENTS;
extern PACKAGE_MINDER_EXPORT const char* const SOURCE_LIST_ARGUMENTS;
extern PACKAGE_MINDER_EXPORT const std::string ADD_SOURCE_ARGUMENTS;
extern PACKAGE_MINDER_EXPORT const std::string REMOVE_SOURCE_ARGUMENTS;
extern PACKAGE_MINDER_EXPORT const std::string LIST_INSTALLED_ARGUMENTS;
extern PACKAGE_MINDER_EXPORT const char* const CLEAR_CACHE_ARGUMENTS;
extern PACKAGE_MINDER_EXPORT const std::string UPGRADE_ARGUMENTS;
extern PACKAGE_MINDER_EXPORT const std::string ADOPT_INSTALLATION_ARGUMENTS;

// Command lines
extern PACKAGE_MINDER_EXPORT const char* const CHOCO_COMMAND_FORMAT;
extern PACKAGE_MINDER_EXPORT const std::string QUERY_TASK;
extern PACKAGE_MINDER_EXPORT const std::string CREATE_TASK;
extern PACKAGE_MINDER_EXPORT const std::string DELETE_TASK;
extern PACKAGE_MINDER_EXPORT const char* const TASK_PROGRAM_FORMAT;
extern PACKAGE_MINDER_EXPORT const char* const CREATE_TASK_FORMAT;

}  // namespace zant::velmora::Choco_Constants
