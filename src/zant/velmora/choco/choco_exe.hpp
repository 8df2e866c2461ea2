#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/choco/virtual_choco_exe.hpp>
#include <zant/velmora/export.hpp>
#include <zant/velmora/host/system.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <string>

namespace zant::velmora {

/// choco.exe at a fixed path. Every failed command is logged with its return code and its whole line; a
/// search of its output is a plain substring test.
class PACKAGE_MINDER_EXPORT Choco_Exe : public Virtual_Choco_Exe {
 public:
  /// Keeps both; runs nothing and does not check that the file exists.
  Choco_Exe(std::shared_ptr<System> system, const boost::filesystem::path& exe_path);

  std::string get_exe_path() const override;
  bool package_is_pinned() override;
  bool pin_package() override;
  bool unpin_package() override;

  /// A source whose location is listed already counts as registered, whatever its name; an empty location is
  /// always listed.
  bool add_repo(const std::string& source_location) override;
  bool remove_repo() override;
  void clear_http_cache() override;

 private:
  Command_Result run_choco_command_(const std::string& arguments);
  bool choco_command_succeeds_(const std::string& arguments);
  bool choco_output_contains_(const std::string& arguments, const std::string& text);
  bool sync_with_system_();

  zant::logging::Source log_;
  std::shared_ptr<System> system_;
  boost::filesystem::path exe_path_;
};

}  // namespace zant::velmora
