#pragma once

#include <zant/velmora/export.hpp>
#include <zant/velmora/package_minder/package.hpp>

#include <memory>

namespace zant::velmora {

/// The reconciliation that the minding thread repeats, over any kind of package.
///
/// Catches nothing: an exception of the package leaves the operation at once and its later steps do not run.
/// Not synchronised: one thread at a time.
class PACKAGE_MINDER_EXPORT Package_Minder {
 public:
  /// Keeps the package; runs and reads nothing.
  explicit Package_Minder(std::shared_ptr<Package> package);

  /// Sets the repository up, then releases a hold if there is one. The package is never held from here.
  void update_package_lock_if_necessary();

  /// Sets the automatic-upgrade machinery up.
  void initialize_unattended_upgrades_if_necessary();

 private:
  std::shared_ptr<Package> package_;
};

}  // namespace zant::velmora
