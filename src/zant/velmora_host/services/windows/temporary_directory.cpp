#include <zant/velmora_host/services/temporary_directory.hpp>

#include <zant/velmora_host/services/windows/protected_directory.hpp>

#include <boost/filesystem/operations.hpp>

namespace zant::velmora_host {

Temporary_Directory::Temporary_Directory()
    : path_(boost::filesystem::temp_directory_path() /
            boost::filesystem::unique_path("package-minder-%%%%%%%%%%%%")) {
  create_protected_directory(path_);
}

Temporary_Directory::~Temporary_Directory() {
  boost::system::error_code ignored;
  boost::filesystem::remove_all(path_, ignored);
}

}  // namespace zant::velmora_host
