#pragma once

#include <zant/velmora_host/export.hpp>
#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zant::velmora_host {

/// Whether the package upgrades on a host by itself.
enum class Verdict_Kind {
  UP_TO_DATE,
  WAITING,  ///< a newer version is offered, and the next run of the host's upgrades will install it
  OVERDUE,  ///< a newer version has been offered for longer than `minder.overdue_after`, and no obstacle is
            ///< known
  BLOCKED,  ///< the next run will not install the newest version, or would not install the next one
  CANNOT_BE_TOLD
};

inline constexpr std::array VERDICT_KINDS = {Verdict_Kind::UP_TO_DATE, Verdict_Kind::WAITING,
                                             Verdict_Kind::OVERDUE, Verdict_Kind::BLOCKED,
                                             Verdict_Kind::CANNOT_BE_TOLD};

/// "up_to_date", "waiting", "overdue", "blocked" or "cannot_be_told".
PACKAGE_MINDER_HOST_EXPORT const char* to_string(Verdict_Kind kind);

/// The verdict of that name; nothing for any other text.
PACKAGE_MINDER_HOST_EXPORT std::optional<Verdict_Kind> verdict_kind_from(std::string_view name);

/// A version, and since when it has been what it is.
struct Version_Since {
  std::string version;
  std::chrono::system_clock::time_point since;
};

/// What is remembered of a host's upgrades, across restarts.
struct Upgrade_History {
  std::optional<Version_Since> offered;  ///< the newest version, since a version newer than the installed one
                                         ///< was first seen; nothing when none is
  std::optional<Version_Since> installed;  ///< since it was first seen installed
  std::optional<std::chrono::system_clock::time_point> version_changed;  ///< from one version to another
  std::vector<Upgrade_Run> runs;  ///< the last ones of the host's upgrade service, the newest last
};

/// Whether the package upgrades on a host, and why not.
struct Verdict {
  Verdict_Kind kind = Verdict_Kind::CANNOT_BE_TOLD;
  std::chrono::system_clock::time_point found;  ///< when this was looked at
  bool online = false;                          ///< the repository itself was asked
  Upgrade_Outlook outlook;
  Upgrade_History history;  ///< with what was seen this time
};

/// What is remembered after one more look. A time that is later than now comes from a clock that has been set
/// back since: it counts as now.
Upgrade_History remembered(Upgrade_History history, const Upgrade_Outlook& outlook,
                           std::chrono::system_clock::time_point now);

/// What an outlook means.
///
/// @param overdue_after how long an offered version may wait.
Verdict_Kind judge(const Upgrade_Outlook& outlook, const Upgrade_History& history,
                   std::chrono::seconds overdue_after, std::chrono::system_clock::time_point now);

/// Since how long a newer version has been offered; zero when none is.
PACKAGE_MINDER_HOST_EXPORT std::chrono::seconds offered_for(const Verdict& verdict);

/// One line: "up to date: zant-velmora 2.0".
PACKAGE_MINDER_HOST_EXPORT std::string describe(const Verdict& verdict);

/// What to do about a cause, behind what it says: "MESSAGE: run "COMMAND"", or two sentences.
PACKAGE_MINDER_HOST_EXPORT std::string with_remedy(const Cause& cause);

/// Whether a remedy is a command to type. A sentence begins with a capital letter.
bool is_command(const std::string& remedy);

}  // namespace zant::velmora_host
