#include <zant/velmora/choco/choco_constants.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>
#include <zant/velmora/package_minder/velmora_version_info.hpp>

#include <fmt/format.h>

namespace zant::velmora::Choco_Constants {

using Package_Constants::PACKAGE_NAME;

const char* const REPO_NAME = "zant-velmora";
const char* const SCHTASKS_TASK_NAME = "UpgradeVelmoraRecorderVMS";

const char* const DEFAULT_REPO_SRC_LOCATION_TEMPLATE =
    "https://" PACKAGE_MINDER_CHOCO_SOURCE_HOST "/v3/index.json";
const char* const DEFAULT_CHANNEL = "production";
const char* const DEFAULT_SCHEDULE_OPTIONS = "/ST 01:00 /SC WEEKLY /D SUN";

const char* const PIN_LIST_ARGUMENTS = "pin list";
const std::string PIN_ARGUMENTS = fmt::format("pin add -n {}", PACKAGE_NAME);
const std::string UNPIN_ARGUMENTS = fmt::format("pin remove -n {}", PACKAGE_NAME);
const char* const SOURCE_LIST_ARGUMENTS = "source list";
const std::string ADD_SOURCE_ARGUMENTS = fmt::format("source add -n {} -s", REPO_NAME);
const std::string REMOVE_SOURCE_ARGUMENTS = fmt::format("source remove -n {}", REPO_NAME);
const std::string LIST_INSTALLED_ARGUMENTS = fmt::format("list -e {}", PACKAGE_NAME);
const char* const CLEAR_CACHE_ARGUMENTS = "cache remove";
const std::string UPGRADE_ARGUMENTS = fmt::format("upgrade {} -y --ignore-http-cache", PACKAGE_NAME);
// Without its scripts an installation only registers what is on the disk already.
const std::string ADOPT_INSTALLATION_ARGUMENTS =
    fmt::format("install {} -y --version {} --skip-powershell --ignore-http-cache", PACKAGE_NAME,
                Velmora_Version_Info::VERSION);

const char* const CHOCO_COMMAND_FORMAT = "\"{}\" {}";
const std::string QUERY_TASK = fmt::format("schtasks.exe /QUERY /TN \"{}\"", SCHTASKS_TASK_NAME);
// S-1-5-18 is the LocalSystem account: the task runs whether or not anyone is logged on.
const std::string CREATE_TASK =
    fmt::format("schtasks.exe /CREATE /F /RU \"S-1-5-18\" /TN \"{}\"", SCHTASKS_TASK_NAME);
const std::string DELETE_TASK = fmt::format("schtasks.exe /DELETE /F /TN \"{}\"", SCHTASKS_TASK_NAME);
// The program line stands inside double quotes itself, so the quotes around the path are escaped.
const char* const TASK_PROGRAM_FORMAT = "\\\"{}\\\" {}";
const char* const CREATE_TASK_FORMAT = "{} /TR \"{}\" {}";

}  // namespace zant::velmora::Choco_Constants
