#pragma once

#include <zant/velmora/facilitators/linux_package_facilitator.hpp>
#include <zant/velmora/host/filesystem.hpp>
#include <zant/velmora/host/system.hpp>
#include <zant/velmora/package_minder/package_minder.hpp>

#include <Poco/AutoPtr.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <Poco/Util/MapConfiguration.h>

#include <memory>
#include <string>
#include <vector>

namespace zant::velmora::bench {

/// What a host of one family says when everything on it is in step.
struct Steady_Family {
  const char* os_release;
  const char* settings_prefix;
  std::vector<std::string> templates;
  const char* installed_repo_file;
};

inline Steady_Family steady_apt() {
  return {"ID=debian\n",
          "package.apt",
          {"zant-velmora.list", "50unattended-upgrades", "75lowerspeed", "zant-on-calendar.conf",
           "zant-randomized-delay.conf"},
          ""};
}

inline Steady_Family steady_dnf() {
  return {"ID_LIKE=\"rhel\"\n",
          "package.dnf",
          {"quorvane.repo", "zant-on-calendar.conf", "zant-randomized-delay.conf"},
          "[quorvane]\nbaseurl=https://repo.velmora.example/velmora-yum-repo/repos/systemd-production/\n"
          "gpgkey=https://repo.velmora.example/velmora-yum-repo/quorvane-yum-repo.gpg\nthrottle=500k\n"};
}

/// Commands that end at once: what is left of a cycle is the library's own time. Nothing is held, nothing
/// needs a reload.
class Steady_System : public System {
 public:
  Command_Result run_command(const std::string& command, bool) override {
    ++commands_;
    const bool finds_nothing =
        command.starts_with("apt-mark showhold") || command.starts_with("systemctl show");
    return {"", finds_nothing ? 1 : 0};
  }

  std::size_t commands() const { return commands_; }

 private:
  std::size_t commands_ = 0;
};

/// Files that are all in step.
class Steady_Filesystem : public Filesystem {
 public:
  explicit Steady_Filesystem(Steady_Family family) : family_(std::move(family)) {}

  bool remove(const Path&) override { return true; }
  void remove(const std::vector<Path>&) override {}
  void remove_all(const Path&) override {}
  bool exists(const Path&) override { return true; }
  bool is_empty(const Path&) override { return false; }
  bool copy_file(const Path&, const Path&, int) override { return true; }
  std::size_t copy_files(const std::vector<Path>& sources, const Path&, int) override {
    return sources.size();
  }
  bool write_file(const Path&, const std::string&, int) override { return true; }
  bool create_directories(const Path&) override { return true; }
  bool files_equal(const Path&, const Path&) override { return true; }

  std::vector<Path> list_files(const Path& directory, const std::string& extension) override {
    std::vector<Path> files;
    for (const auto& name : family_.templates) {
      files.push_back(directory / (name + extension));
    }
    return files;
  }

  std::string read_file(const Path& path, int) override {
    if (path == "/etc/os-release") {
      return family_.os_release;
    }
    if (path == "/proc/1/comm") {
      return "systemd";
    }
    return path.extension() == ".repo" ? family_.installed_repo_file : "value\n";
  }

 private:
  Steady_Family family_;
};

/// A minder over such a host, with both drop-ins wanted.
inline std::shared_ptr<Package_Minder> make_steady_minder(const Steady_Family& family,
                                                          const std::shared_ptr<Steady_System>& system) {
  Poco::AutoPtr<Poco::Util::LayeredConfiguration> settings(new Poco::Util::LayeredConfiguration);
  Poco::AutoPtr<Poco::Util::MapConfiguration> values(new Poco::Util::MapConfiguration);
  values->setString(std::string(family.settings_prefix) + ".upgrade_timer.on_calendar", "*-*-* 02:00:00");
  values->setString(std::string(family.settings_prefix) + ".upgrade_timer.randomized_delay", "1h");
  settings->add(values);

  const auto filesystem = std::make_shared<Steady_Filesystem>(family);
  const Linux_Package_Facilitator facilitator(filesystem, system, *settings, "/staging");
  return std::make_shared<Package_Minder>(
      facilitator.create_package(facilitator.create_package_config(true)));
}

}  // namespace zant::velmora::bench
