#pragma once

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include <fstream>
#include <string>

namespace zant::velmora_host::test_support {

/// Writes a small staging tree that lacks nothing.
inline void make_staging_tree(const boost::filesystem::path& tree) {
  namespace fs = boost::filesystem;
  const auto write = [&](const std::string& name, const std::string& text) {
    fs::create_directories((tree / name).parent_path());
    std::ofstream((tree / name).string()) << text;
    fs::permissions(tree / name, fs::owner_read | fs::owner_write | fs::group_read | fs::others_read);
  };
  const std::string apt = "config-files/apt/";
  const std::string dnf = "config-files/dnf/";
  write("keyrings/zant-velmora.gpg", "the keys");
  write(apt + "20auto-upgrades", "APT::Periodic::Enable \"1\";\n");
  write(apt + "templates/zant-velmora.list.template", "deb [arch={2}] {0} {1} main\n");
  write(apt + "templates/50unattended-upgrades.template", "Unattended-Upgrade::Origins-Pattern {{{}}};\n");
  write(apt + "templates/75lowerspeed.template", "Acquire::http::Dl-Limit \"{}\";\n");
  write(apt + "templates/zant-on-calendar.conf.template", "[Timer]\nOnCalendar=\nOnCalendar={}\n");
  write(apt + "templates/zant-randomized-delay.conf.template", "[Timer]\nRandomizedDelaySec={}\n");
  write(dnf + "templates/quorvane.repo.template", "[{}]\nname={}\nbaseurl={}\ngpgkey={}\nthrottle={}\n");
  write(dnf + "templates/zant-on-calendar.conf.template", "[Timer]\nOnCalendar=\nOnCalendar={}\n");
  write(dnf + "templates/zant-randomized-delay.conf.template", "[Timer]\nRandomizedDelaySec={}\n");
  for (const char* directory :
       {"", "keyrings", "config-files", "config-files/apt", "config-files/apt/templates", "config-files/dnf",
        "config-files/dnf/templates"}) {
    fs::permissions(tree / directory, fs::remove_perms | fs::group_write | fs::others_write);
  }
}

}  // namespace zant::velmora_host::test_support
