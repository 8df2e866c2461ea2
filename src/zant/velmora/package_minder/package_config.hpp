#pragma once

#include <zant/velmora/export.hpp>

#include <cstdint>

namespace zant::velmora {

/// The package-manager families.
enum class Package_Config_Type : std::uint32_t {
  None = 0,   ///< no supported package manager; only detection produces it, never a configuration
  APT = 1,    ///< Debian-family host
  DNF = 2,    ///< RHEL-family host
  Choco = 3,  ///< Windows host with Chocolatey
};

/// Everything about where the application's own package comes from and how the host upgrades it: the
/// repository's registration with the host's package manager and the automatic-upgrade machinery.
///
/// Held through shared pointers by whoever created it and by the `Package` built over it. Not synchronised:
/// called from the minding thread, or from the host's thread while none runs.
///
/// The `*_if_necessary` operations are idempotent reconciliations: each inspects the host and changes it only
/// where it differs from the wanted state. The purge operations undo what setup installed; only the host
/// application calls them. All of them report failure by throwing.
class PACKAGE_MINDER_EXPORT Package_Config {
 public:
  virtual ~Package_Config() = default;

  /// The family; constant for each concrete class, never None.
  virtual Package_Config_Type type() const = 0;

  /// Brings the repository's registration into the wanted state.
  virtual void setup_repo_if_necessary() = 0;

  /// Brings the automatic-upgrade machinery into the wanted state; nothing when automatic upgrades are off.
  virtual void setup_unattended_upgrades_if_necessary() = 0;

  /// Undoes the automatic-upgrade part only.
  virtual void purge_unattended_upgrade_configuration() = 0;

  /// Undoes everything, the repository's registration included.
  virtual void purge_all_configurations() = 0;
};

}  // namespace zant::velmora
