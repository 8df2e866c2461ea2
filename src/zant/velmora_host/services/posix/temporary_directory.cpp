#include <zant/velmora_host/services/temporary_directory.hpp>

#include <zant/velmora_host/services/posix/system_error.hpp>

#include <boost/filesystem/operations.hpp>

#include <cstdlib>
#include <string>

namespace zant::velmora_host {

Temporary_Directory::Temporary_Directory() {
  std::string path = (boost::filesystem::temp_directory_path() / "package-minder-XXXXXX").string();
  if (::mkdtemp(path.data()) == nullptr) {
    throw_system_error("cannot create a temporary directory such as " + path);
  }
  path_ = path;
}

Temporary_Directory::~Temporary_Directory() {
  boost::system::error_code ignored;
  boost::filesystem::remove_all(path_, ignored);
}

}  // namespace zant::velmora_host
