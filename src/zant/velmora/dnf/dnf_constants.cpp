#include <zant/velmora/dnf/dnf_constants.hpp>

#include <zant/velmora/package_minder/package_constants.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_constants.hpp>

#include <fmt/format.h>

namespace zant::velmora::DNF_Constants {
namespace {

namespace Timer = Upgrade_Timer_Constants;
using Package_Constants::PACKAGE_NAME;

// Releases before 8 have the option in a tool of its own, which also serves where the first one fails.
const char* const SET_OPTION_FORMAT = "bash -c '{0} && dnf config-manager {1} || yum-config-manager {1}'";
const char* const INCLUDE_OPTION_FORMAT = "--setopt={}.exclude= --save";
const char* const EXCLUDE_OPTION_FORMAT = "--setopt={}.exclude=* --save";

std::string set_option_command(const char* option_format) {
  return fmt::format(fmt::runtime(SET_OPTION_FORMAT), CHECK_RHEL8_OR_GREATER,
                     fmt::format(fmt::runtime(option_format), DNF_REPO_ID));
}

}  // namespace

const char* const DNF_REPO_ID = "quorvane";
const char* const DNF_REPO_NAME = "Velmora Recorder";
const char* const DNF_AUTOMATIC_TIMER = "dnf-automatic-install.timer";
const std::string DNF_REPO_FILE = fmt::format("{}.repo", DNF_REPO_ID);

const char* const DEFAULT_DNF_REPO_ROOT_URL = "https://" PACKAGE_MINDER_DEFAULT_REPO_HOST "/velmora-yum-repo";
const std::string DEFAULT_REPO_URL = fmt::format("{}/repos", DEFAULT_DNF_REPO_ROOT_URL);
const std::string DEFAULT_GPG_KEY_URL = fmt::format("{}/quorvane-yum-repo.gpg", DEFAULT_DNF_REPO_ROOT_URL);
const char* const DEFAULT_CHANNEL = "systemd-production";
const char* const DEFAULT_THROTTLE = "500k";

const std::string REPO_FILE_PATH = fmt::format("/etc/yum.repos.d/{}", DNF_REPO_FILE);
const std::string TIMER_OVERRIDE_DIR = fmt::format(Timer::OVERRIDE_DIR_FORMAT, DNF_AUTOMATIC_TIMER);
const std::string TIMER_ON_CALENDAR_FILE = fmt::format(Timer::ON_CALENDAR_FILE_FORMAT, DNF_AUTOMATIC_TIMER);
const std::string TIMER_RANDOMIZED_DELAY_FILE =
    fmt::format(Timer::RANDOMIZED_DELAY_FILE_FORMAT, DNF_AUTOMATIC_TIMER);

const char* const CHECK_RHEL8_OR_GREATER =
    "[[ $(grep VERSION_ID /etc/os-release | xargs | cut -d. -f1 | cut -d= -f2) -ge 8 ]]";
const char* const DNF_PRESENCE = "which dnf &> /dev/null";
const std::string LOCK_QUERY =
    fmt::format("dnf repoquery --repoid {} -q | grep -q ^{}", DNF_REPO_ID, PACKAGE_NAME);
const std::string EXCLUDE_PACKAGES = set_option_command(EXCLUDE_OPTION_FORMAT);
const std::string INCLUDE_PACKAGES = set_option_command(INCLUDE_OPTION_FORMAT);
const char* const IMPORT_KEY_FORMAT = "rpm --import {}";
const char* const DNF_AUTOMATIC_PRESENCE = "which dnf-automatic &> /dev/null";
const char* const INSTALL_DNF_AUTOMATIC = "dnf -yq install dnf-automatic";
const char* const DISABLE_CONFLICTING_TIMERS =
    "systemctl disable --now dnf-automatic.timer dnf-automatic-download.timer dnf-automatic-notifyonly.timer";
const std::string START_TIMER = fmt::format(Timer::START_FORMAT, DNF_AUTOMATIC_TIMER);
const std::string TIMER_STATUS = fmt::format(Timer::STATUS_FORMAT, DNF_AUTOMATIC_TIMER);
const std::string TIMER_NEEDS_RELOAD = fmt::format(Timer::NEEDS_RELOAD_FORMAT, DNF_AUTOMATIC_TIMER);
const std::string RELOAD_TIMER = fmt::format(Timer::RELOAD_FORMAT, DNF_AUTOMATIC_TIMER);

}  // namespace zant::velmora::DNF_Constants
