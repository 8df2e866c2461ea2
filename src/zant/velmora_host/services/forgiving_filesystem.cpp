#include <zant/velmora_host/services/forgiving_filesystem.hpp>

#include <exception>
#include <utility>

namespace zant::velmora_host {

using zant::logging::severity_level;

Forgiving_Filesystem::Forgiving_Filesystem(std::shared_ptr<Host_Filesystem> real)
    : Forwarding_Filesystem(std::move(real)) {
  log_.init_("Forgiving_Filesystem", "");
}

// False, NONE and what is empty are what a missing path answers with.
template <typename Question>
auto Forgiving_Filesystem::forgive_(Question question) -> decltype(question()) {
  try {
    return question();
  } catch (const std::exception& error) {
    ZANT_LOG(log_, severity_level::warning) << error.what();
    return {};
  }
}

bool Forgiving_Filesystem::exists(const Path& path) {
  return forgive_([&] { return real().exists(path); });
}

bool Forgiving_Filesystem::is_empty(const Path& path) {
  return forgive_([&] { return real().is_empty(path); });
}

std::vector<velmora::Filesystem::Path> Forgiving_Filesystem::list_files(const Path& directory,
                                                                        const std::string& extension) {
  return forgive_([&] { return real().list_files(directory, extension); });
}

std::string Forgiving_Filesystem::read_file(const Path& path, int read_flag) {
  return forgive_([&] { return real().read_file(path, read_flag); });
}

bool Forgiving_Filesystem::files_equal(const Path& first, const Path& second) {
  return forgive_([&] { return real().files_equal(first, second); });
}

std::string Forgiving_Filesystem::stamp_of(const Path& path) {
  return forgive_([&] { return real().stamp_of(path); });
}

bool Forgiving_Filesystem::has_common_access(const Path& path) {
  return forgive_([&] { return real().has_common_access(path); });
}

File_Type Forgiving_Filesystem::type_of(const Path& path) {
  return forgive_([&] { return real().type_of(path); });
}

std::vector<velmora::Filesystem::Path> Forgiving_Filesystem::list_entries(const Path& directory) {
  return forgive_([&] { return real().list_entries(directory); });
}

}  // namespace zant::velmora_host
