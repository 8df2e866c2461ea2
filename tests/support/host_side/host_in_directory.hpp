#pragma once

#include <zant/velmora_host/services/host_services.hpp>
#include <zant/velmora_host/services/temporary_directory.hpp>
#include <zant/velmora_host/settings/settings.hpp>

#include <support/captured_log.hpp>
#include <support/fake_system.hpp>
#include <support/host_side/rooted_filesystem.hpp>
#include <support/host_side/staging_example.hpp>

#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host::test_support {

/// What the hosts of all families have in common: a file system in a directory of its own, a staging tree, a
/// scripted command service and a log that is kept. A command that no script names fails the test.
class Host_In_Directory {
 public:
  Host_In_Directory(const Host_In_Directory&) = delete;
  Host_In_Directory& operator=(const Host_In_Directory&) = delete;

  /// Where the staging tree is installed.
  boost::filesystem::path installed_tree() const { return directory_.path() / "installed"; }

  boost::filesystem::path state_directory() const { return directory_.path() / "state"; }

  /// Where a file of the host really is: "/etc/os-release" and the like.
  boost::filesystem::path on_disk(const std::string& name) const {
    return root_() / boost::filesystem::path(name).relative_path();
  }

  void write(const std::string& name, const std::string& text) {
    services.filesystem->create_directories(boost::filesystem::path(name).parent_path());
    services.filesystem->write_file(name, text, velmora::Write_Flag::REPLACE);
  }

  std::string read(const std::string& name) {
    return services.filesystem->read_file(name, velmora::Read_Flag::WHOLE_TEXT);
  }

  /// Removes a file, or a directory with all that is in it.
  void remove(const std::string& name) { services.filesystem->remove_all(name); }

  /// The files below a directory of the host, hidden ones included: names relative to it, sorted.
  std::vector<std::string> files_below(const std::string& directory) const {
    std::vector<std::string> names;
    for (const auto& entry : boost::filesystem::recursive_directory_iterator(on_disk(directory))) {
      if (boost::filesystem::is_regular_file(entry.path())) {
        names.push_back(boost::filesystem::relative(entry.path(), on_disk(directory)).string());
      }
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  /// As the option --set gives it.
  void set(const std::string& key, const std::string& value) { sources_.overrides.emplace_back(key, value); }

  /// The host's directories and what has been set; no settings file is read.
  const Settings_Sources& settings_sources() const { return sources_; }

  Settings settings() const { return Settings(sources_); }

 protected:
  explicit Host_In_Directory(const std::string& os_release) {
    make_staging_tree(installed_tree());
    sources_.file = "/nowhere";
    set("minder.staging_directory", installed_tree().string());
    set("minder.state_directory", state_directory().string());
    write("/etc/os-release", os_release);
    write("/proc/1/comm", "systemd\n");
  }

  void script(int exit_code, std::initializer_list<const char*> commands) {
    for (const char* command : commands) {
      system->on(command, exit_code);
    }
  }

 private:
  boost::filesystem::path root_() const { return directory_.path() / "root"; }

  Temporary_Directory directory_;
  Settings_Sources sources_;

 public:
  velmora::test_support::Captured_Log log;
  std::shared_ptr<velmora::test_support::Fake_System> system =
      std::make_shared<velmora::test_support::Fake_System>();
  Host_Services services{system, std::make_shared<Rooted_Filesystem>(root_())};
};

}  // namespace zant::velmora_host::test_support
