#include <zant/velmora_host/services/new_private_directory.hpp>

#include <zant/velmora_host/services/posix/system_error.hpp>

#include <cstdlib>
#include <string>

namespace zant::velmora_host {

boost::filesystem::path new_private_directory(const boost::filesystem::path& beginning) {
  std::string path = beginning.string() + "-XXXXXX";
  if (::mkdtemp(path.data()) == nullptr) {
    throw_system_error("cannot create a temporary directory such as " + path);
  }
  return path;
}

}  // namespace zant::velmora_host
