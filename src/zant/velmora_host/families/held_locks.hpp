#pragma once

#include <zant/velmora_host/families/upgrade_outlook.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// What a package manager locks while it works.
struct Package_Locks {
  std::vector<std::string> files;         ///< with the locks of the kernel
  std::vector<std::string> number_files;  ///< that hold the number of the process, and are deleted by it
  std::vector<std::string> holders;  ///< how the names of the processes begin that hold them in their work
};

/// What is found when another program than the package manager holds one of its locks, or the package manager
/// itself has for hours; else nothing.
Causes find_held_locks(const Outlook_Question& question, const Package_Locks& locks);

}  // namespace zant::velmora_host
