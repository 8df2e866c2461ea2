#include <zant/velmora_host/minding/interrupted_writes.hpp>

#include <zant/velmora_host/services/file_service.hpp>
#include <zant/velmora_host/staging/metrics_file.hpp>

#include <boost/filesystem/path.hpp>

#include <set>
#include <string>
#include <vector>

namespace zant::velmora_host {
namespace {

using boost::filesystem::path;
using Paths = std::vector<path>;

// The directory is another program's, with temporary files of its own.
Paths interrupted_metrics(const path& file, velmora::Filesystem& filesystem) {
  if (file.empty() || !may_write_metrics_file(file)) {
    return {};
  }
  Paths found = filesystem.list_files(file.parent_path(), File_Service::TEMPORARY_EXTENSION);
  const std::string beginning = "." + file.filename().string() + ".";
  std::erase_if(found,
                [&beginning](const path& one) { return !one.filename().string().starts_with(beginning); });
  return found;
}

std::set<std::string> directories_of(const Family& family, const Settings& settings) {
  const Installed_Paths installed = family.installed_paths();
  std::set<std::string> directories = {settings.state_directory().string()};
  for (const auto* paths : {&installed.repository, &installed.upgrades}) {
    for (const auto& path : *paths) {
      directories.insert(path.parent_path().string());
      // Some of the paths are directories themselves, such as the one of backups.
      directories.insert(path.string());
    }
  }
  return directories;
}

}  // namespace

Paths remove_interrupted_writes(const Family& family, const Settings& settings,
                                velmora::Filesystem& filesystem) {
  Paths found = interrupted_metrics(settings.metrics_file(), filesystem);
  for (const auto& directory : directories_of(family, settings)) {
    const Paths here = filesystem.list_files(directory, File_Service::TEMPORARY_EXTENSION);
    found.insert(found.end(), here.begin(), here.end());
  }
  filesystem.remove(found);
  std::erase_if(found, [&filesystem](const path& one) { return !filesystem.exists(one); });
  return found;
}

}  // namespace zant::velmora_host
