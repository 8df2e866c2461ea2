#include <zant/velmora_host/services/host_filesystem.hpp>

namespace zant::velmora_host {

std::string Host_Filesystem::stamp_of(const Path& path) {
  switch (type_of(path)) {
    case File_Type::FILE:
      return read_file(path, velmora::Read_Flag::WHOLE_TEXT);
    case File_Type::DIRECTORY: {
      std::string names;
      for (const auto& entry : list_entries(path)) {
        names += entry.string() + "\n";
      }
      return names;
    }
    default:
      return "";
  }
}

bool Host_Filesystem::has_common_access(const Path& /*path*/) {
  return true;
}

}  // namespace zant::velmora_host
