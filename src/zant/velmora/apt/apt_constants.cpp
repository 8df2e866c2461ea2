#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/package_minder/package_constants.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_constants.hpp>

#include <fmt/format.h>

namespace zant::velmora::APT_Constants {
namespace {

namespace Timer = Upgrade_Timer_Constants;
using Package_Constants::PACKAGE_NAME;

const std::string REPO_PATH_COMPONENT = fmt::format("{}-apt-repo", Package_Constants::PRODUCT_WORD);

}  // namespace

const char* const APT_UPGRADE_TIMER = "apt-daily-upgrade.timer";
const char* const APT_REPO_KEYRING_FILE = "zant-velmora.gpg";
const char* const APT_SOURCE_LIST_FILE = "zant-velmora.list";
const char* const APT_AUTO_UPGRADES_FILE = "20auto-upgrades";
const char* const APT_UNATTENDED_UPGRADES_FILE = "50unattended-upgrades";
const char* const APT_LOWERSPEED_FILE = "75lowerspeed";
const std::array<std::string, 3> UNATTENDED_UPGRADE_SERVICE_FILENAMES = {
    APT_AUTO_UPGRADES_FILE, APT_UNATTENDED_UPGRADES_FILE, APT_LOWERSPEED_FILE};

const char* const DEFAULT_APT_REPO_HOST = PACKAGE_MINDER_DEFAULT_REPO_HOST;
const std::string SECURE_DEFAULT_REPO_URL =
    fmt::format("https://{}/{}/", DEFAULT_APT_REPO_HOST, REPO_PATH_COMPONENT);
const std::string PLAIN_DEFAULT_REPO_URL =
    fmt::format("http://{}/{}/", DEFAULT_APT_REPO_HOST, REPO_PATH_COMPONENT);
const char* const DEFAULT_CHANNEL_FORMAT = "{}-production";
const char* const DEFAULT_ORIGINS_PATTERN = "o=Quorvane Velmora Core VMS Repo";
const int DEFAULT_BANDWIDTH_LIMIT = 500;

const char* const APT_GLOBAL_CONFIG_DIR = "/etc/apt/apt.conf.d";
const std::string APT_CONFIG_BACKUP_DIR = fmt::format("{}/.zant-backups", APT_GLOBAL_CONFIG_DIR);
const std::string REPO_KEYRING_PATH = fmt::format("/etc/apt/trusted.gpg.d/{}", APT_REPO_KEYRING_FILE);
const std::string SOURCE_LIST_PATH = fmt::format("/etc/apt/sources.list.d/{}", APT_SOURCE_LIST_FILE);
const std::string TIMER_OVERRIDE_DIR = fmt::format(Timer::OVERRIDE_DIR_FORMAT, APT_UPGRADE_TIMER);
const std::string TIMER_ON_CALENDAR_FILE = fmt::format(Timer::ON_CALENDAR_FILE_FORMAT, APT_UPGRADE_TIMER);
const std::string TIMER_RANDOMIZED_DELAY_FILE =
    fmt::format(Timer::RANDOMIZED_DELAY_FILE_FORMAT, APT_UPGRADE_TIMER);

const std::string ARCHITECTURE_QUERY = fmt::format("dpkg-query -f='${{Architecture}}' -W {}", PACKAGE_NAME);
const char* const REFRESH_REPOS = "apt-get -qq update";
const std::string REPO_POLICY_QUERY = fmt::format("apt-cache policy {}", PACKAGE_NAME);
const std::string HOLD_QUERY = fmt::format("apt-mark showhold | grep -q ^{}$", PACKAGE_NAME);
const std::string HOLD_PACKAGE = fmt::format("apt-mark -qq hold {}", PACKAGE_NAME);
const std::string UNHOLD_PACKAGE = fmt::format("apt-mark -qq unhold {}", PACKAGE_NAME);
const char* const UNATTENDED_UPGRADES_PRESENCE = "which unattended-upgrades > /dev/null";
const char* const INSTALL_UNATTENDED_UPGRADES =
    "NEEDRESTART_MODE=a DEBIAN_FRONTEND=noninteractive apt-get -qq install unattended-upgrades";
const char* const START_UNATTENDED_UPGRADES = "service unattended-upgrades start > /dev/null";
const std::string START_TIMER = fmt::format(Timer::START_FORMAT, APT_UPGRADE_TIMER);
const std::string TIMER_STATUS = fmt::format(Timer::STATUS_FORMAT, APT_UPGRADE_TIMER);
const std::string TIMER_NEEDS_RELOAD = fmt::format(Timer::NEEDS_RELOAD_FORMAT, APT_UPGRADE_TIMER);
const std::string RELOAD_TIMER = fmt::format(Timer::RELOAD_FORMAT, APT_UPGRADE_TIMER);

}  // namespace zant::velmora::APT_Constants
