#pragma once

#include <zant/velmora/export.hpp>

namespace zant::velmora {

/// The installed package itself: whether it is held against upgrades, holding and releasing it, and, through
/// the configuration that it was built over, bringing repository and automatic upgrades into the wanted
/// state.
///
/// Every concrete package keeps its `Package_Config` for its whole life. Not synchronised: called from the
/// minding thread, or from the host's thread while none runs.
class PACKAGE_MINDER_EXPORT Package {
 public:
  virtual ~Package() = default;

  /// True when the host's package manager currently holds the package back from upgrades.
  virtual bool locked() const = 0;

  /// Holds the package. True when the host's package tool carried the change out; a failure is logged and
  /// never thrown.
  virtual bool lock() = 0;

  /// Releases the hold. True when the host's package tool carried the change out; a failure is logged and
  /// never thrown.
  virtual bool unlock() = 0;

  /// Forwards to `Package_Config::setup_repo_if_necessary`; its exceptions pass through.
  virtual void initialize_repo_if_necessary() = 0;

  /// Forwards to `Package_Config::setup_unattended_upgrades_if_necessary`; its exceptions pass through.
  virtual void initialize_unattended_upgrades_if_necessary() = 0;
};

}  // namespace zant::velmora
