#include <zant/velmora_host/families/library_commands.hpp>

#include <zant/velmora/apt/apt_constants.hpp>
#include <zant/velmora/choco/choco_constants.hpp>
#include <zant/velmora/dnf/dnf_constants.hpp>

#include <boost/algorithm/string/predicate.hpp>

#include <map>
#include <set>

namespace zant::velmora_host::library_commands {
namespace {

// Without systemd nothing can answer whether a start would have an effect; the library repeats it every
// cycle.
std::string unless_active(const std::string& unit) {
  return "test ! -d /run/systemd/system || systemctl is-active --quiet " + unit;
}

constexpr const char* IMPORT_KEY_PREFIX = "rpm --import ";
// Which keys rpm has says nothing of the file that would be imported. That it has one is near enough: the
// import is repeated in every cycle, and never reported.
constexpr const char* ANY_KEY_IMPORTED = "rpm --quiet --query gpg-pubkey";
constexpr const char* NO_CONFLICTING_TIMER =
    "! systemctl is-enabled --quiet dnf-automatic.timer dnf-automatic-download.timer "
    "dnf-automatic-notifyonly.timer "
    "2> /dev/null && "
    "! systemctl is-active --quiet dnf-automatic.timer dnf-automatic-download.timer "
    "dnf-automatic-notifyonly.timer";

// They begin with the path of choco.exe, wherever it is.
bool is_choco_query(const std::string& command) {
  const auto asks_for = [&command](const std::string& arguments) {
    return boost::algorithm::ends_with(command, "\" " + arguments);
  };
  return asks_for(velmora::Choco_Constants::PIN_LIST_ARGUMENTS) ||
         asks_for(velmora::Choco_Constants::SOURCE_LIST_ARGUMENTS) ||
         asks_for(velmora::Choco_Constants::LIST_INSTALLED_ARGUMENTS);
}

}  // namespace

bool is_query(const std::string& command) {
  static const std::set<std::string> queries = {
      velmora::APT_Constants::ARCHITECTURE_QUERY, velmora::APT_Constants::REPO_POLICY_QUERY,
      velmora::APT_Constants::HOLD_QUERY,         velmora::APT_Constants::UNATTENDED_UPGRADES_PRESENCE,
      velmora::APT_Constants::TIMER_STATUS,       velmora::APT_Constants::TIMER_NEEDS_RELOAD,
      velmora::Choco_Constants::QUERY_TASK,       velmora::DNF_Constants::DNF_PRESENCE,
      velmora::DNF_Constants::LOCK_QUERY,         velmora::DNF_Constants::DNF_AUTOMATIC_PRESENCE,
      velmora::DNF_Constants::TIMER_STATUS,       velmora::DNF_Constants::TIMER_NEEDS_RELOAD,
  };
  return queries.contains(command) || is_choco_query(command);
}

std::string noop_check(const std::string& command) {
  static const std::map<std::string, std::string> noop_when = {
      {velmora::APT_Constants::START_UNATTENDED_UPGRADES, unless_active("unattended-upgrades.service")},
      {velmora::APT_Constants::START_TIMER, unless_active(velmora::APT_Constants::APT_UPGRADE_TIMER)},
      {velmora::APT_Constants::UNHOLD_PACKAGE, "! " + velmora::APT_Constants::HOLD_QUERY},
      {velmora::DNF_Constants::START_TIMER, unless_active(velmora::DNF_Constants::DNF_AUTOMATIC_TIMER)},
      {velmora::DNF_Constants::DISABLE_CONFLICTING_TIMERS, NO_CONFLICTING_TIMER},
  };
  if (boost::algorithm::starts_with(command, IMPORT_KEY_PREFIX)) {
    return ANY_KEY_IMPORTED;
  }
  const auto found = noop_when.find(command);
  return found == noop_when.end() ? "" : found->second;
}

bool releases_hold(const std::string& command) {
  return command == velmora::APT_Constants::UNHOLD_PACKAGE ||
         command == velmora::DNF_Constants::INCLUDE_PACKAGES;
}

}  // namespace zant::velmora_host::library_commands
