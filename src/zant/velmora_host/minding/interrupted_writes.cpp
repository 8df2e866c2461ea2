#include <zant/velmora_host/minding/interrupted_writes.hpp>

#include <zant/velmora_host/services/file_service.hpp>

#include <boost/filesystem/path.hpp>

#include <set>

namespace zant::velmora_host {

void remove_interrupted_writes(const Family& family, velmora::Filesystem& filesystem) {
  const Installed_Paths installed = family.installed_paths();
  std::set<boost::filesystem::path> directories;
  for (const auto* paths : {&installed.repository, &installed.upgrades}) {
    for (const auto& path : *paths) {
      directories.insert(path.parent_path());
      // Some of the paths are directories themselves, such as the one of backups.
      directories.insert(path);
    }
  }
  for (const auto& directory : directories) {
    filesystem.remove(filesystem.list_files(directory, File_Service::TEMPORARY_EXTENSION));
  }
}

}  // namespace zant::velmora_host
