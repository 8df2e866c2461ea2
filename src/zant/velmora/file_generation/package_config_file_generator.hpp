#pragma once

#include <zant/velmora/export.hpp>
#include <zant/velmora/file_generation/template_manager.hpp>
#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/upgrade_timer/upgrade_timer_manager.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>

namespace zant::velmora {

/// Renders the files that a package configuration wants on the host into the generator's directory;
/// installing them is the configuration's business. Failures are exceptions, those of
/// `Template_Manager::generate_file`.
class PACKAGE_MINDER_EXPORT Package_Config_File_Generator {
 public:
  /// Maps the templates of the directory's "templates" folder at once.
  Package_Config_File_Generator(std::shared_ptr<Filesystem> filesystem,
                                const boost::filesystem::path& directory);
  virtual ~Package_Config_File_Generator() = default;

  /// Renders what registers the repository.
  virtual void generate_repo_files() = 0;

  /// Renders what configures the family's upgrade service; nothing when automatic upgrades are off.
  virtual void generate_unattended_upgrade_service_files() = 0;

  /// Renders the drop-ins of the upgrade timer; nothing when automatic upgrades are off.
  virtual void generate_upgrade_timer_overrides() = 0;

 protected:
  /// Removes both staged drop-ins, then renders those that have a value. A failure in between leaves them
  /// removed, which the timer manager takes as a wish for no overrides.
  void generate_upgrade_timer_overrides_(const Upgrade_Timer_Manager::Timer_Config& timer_config);

  const Template_Manager& template_manager_() const noexcept { return templates_; }

 private:
  void generate_override_if_wanted_(const Upgrade_Timer_Manager::Timer_Config::Info& info);

  std::shared_ptr<Filesystem> filesystem_;
  Template_Manager templates_;
};

}  // namespace zant::velmora
