#pragma once

#include <string>

namespace zant::velmora_host {

/// Whether the package is held against upgrades; UNKNOWN when the host's tools cannot tell.
enum class Hold_State { NOT_HELD, HELD, UNKNOWN };

/// The versions of the package on a host, as its package manager writes them.
struct Package_Versions {
  std::string installed;  ///< empty when the package is not installed
  std::string offered;    ///< empty when no repository offers it
};

}  // namespace zant::velmora_host
