#pragma once

#include <string>

namespace zant::velmora_host {

/// What a command line of the library's does to a host.
enum class Command_Kind {
  QUERY,                   ///< only looks
  REFRESHES_REPOSITORIES,  ///< has the package manager read what its repositories offer
  IMPORTS_KEY,             ///< makes the package manager trust the repository's key
  CHANGES_SOURCE,          ///< registers the repository by a command, or removes it
  HOLDS_PACKAGE,
  RELEASES_HOLD,
  INSTALLS_PACKAGES,  ///< must not be ended half-way: the host would be left half configured
  STARTS_SERVICE,
  STARTS_TIMER,
  RELOADS_TIMER,
  DISABLES_TIMERS,  ///< of others, which would run upgrades on a schedule of their own
  SCHEDULES_UPGRADES,
  REMOVES_SCHEDULE,
  UNKNOWN,  ///< no command line of the library's; counts as one that changes the host
};

/// What a family knows of a command line.
struct Command_Traits {
  Command_Kind kind = Command_Kind::UNKNOWN;

  /// For a command line that the library repeats whether or not it is needed: a query that succeeds when the
  /// command line would change nothing. Empty for those that run only to change something.
  std::string noop_check = {};

  /// A query without whose text a cycle must not go on: the text becomes part of a file.
  bool must_print = false;
};

}  // namespace zant::velmora_host
