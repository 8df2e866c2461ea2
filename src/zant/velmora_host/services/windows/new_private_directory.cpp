#include <zant/velmora_host/services/new_private_directory.hpp>

#include <zant/velmora_host/services/windows/protected_directory.hpp>

#include <boost/filesystem/operations.hpp>

namespace zant::velmora_host {

boost::filesystem::path new_private_directory(const boost::filesystem::path& beginning) {
  boost::filesystem::path path = beginning;
  path += boost::filesystem::unique_path("-%%%%%%%%%%%%");
  create_protected_directory(path);
  return path;
}

}  // namespace zant::velmora_host
