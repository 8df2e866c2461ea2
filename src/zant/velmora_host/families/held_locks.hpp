#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// What a package manager locks while it works.
struct Package_Locks {
  std::vector<std::string> files;         ///< locked by POSIX's calls
  std::vector<std::string> flock_files;   ///< locked by flock, which does not keep those of POSIX away
  std::vector<std::string> number_files;  ///< that hold the number of the process, and are deleted by it

  /// How the names of the processes begin that hold a lock as long as they run, and of those that run for
  /// long and hold one now and then.
  std::vector<std::string> tools;
  std::vector<std::string> services;
};

/// What is found when another program than the package manager holds one of its locks, or the package manager
/// itself has for more than two hours; else nothing.
Causes find_held_locks(const Outlook_Question& question, const Package_Locks& locks);

}  // namespace zant::velmora_host
