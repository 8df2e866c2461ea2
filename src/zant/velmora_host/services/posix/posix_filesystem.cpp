#include <zant/velmora_host/services/posix/posix_filesystem.hpp>

#include <zant/velmora_host/services/posix/input_file.hpp>
#include <zant/velmora_host/services/posix/replacement_file.hpp>
#include <zant/velmora_host/services/posix/system_error.hpp>

#include <boost/filesystem/operations.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace zant::velmora_host {
namespace {

constexpr mode_t DIRECTORY_MODE = 0755;

}  // namespace

const char* const Posix_Filesystem::TEMPORARY_EXTENSION = Replacement_File::EXTENSION;

Posix_Filesystem::Posix_Filesystem() : Disk_Filesystem("Posix_Filesystem") {}

bool Posix_Filesystem::remove(const Path& path) {
  if (std::remove(path.c_str()) == 0) {
    return true;
  }
  log_unless_missing_("remove", path, errno);
  return false;
}

void Posix_Filesystem::remove(const std::vector<Path>& paths) {
  for (const auto& path : paths) {
    if (::unlink(path.c_str()) != 0) {
      log_unless_missing_("remove", path, errno);
    }
  }
}

bool Posix_Filesystem::means_missing_(int error_code) const {
  return error_code == ENOENT || error_code == ENOTDIR;
}

std::string Posix_Filesystem::error_text_(int error_code) const {
  return error_text(error_code);
}

std::string Posix_Filesystem::read_(const Path& path) {
  std::string text;
  Input_File file(path);
  for (auto piece = file.next_piece(); !piece.empty(); piece = file.next_piece()) {
    text += piece;
  }
  return text;
}

void Posix_Filesystem::write_(const Path& path, const std::string& contents) {
  Replacement_File file(path);
  file.write(contents);
  file.commit();
}

void Posix_Filesystem::copy_(const Path& source, const Path& destination) {
  Input_File original(source);
  Replacement_File copy(destination);
  for (auto piece = original.next_piece(); !piece.empty(); piece = original.next_piece()) {
    copy.write(piece);
  }
  copy.commit();
}

bool Posix_Filesystem::are_equal_(const Path& first, const Path& second) {
  Input_File one(first);
  Input_File other(second);
  if (one.size() != other.size()) {
    return false;
  }
  while (true) {
    const auto piece = one.next_piece();
    if (piece != other.next_piece()) {
      return false;
    }
    if (piece.empty()) {
      return true;
    }
  }
}

bool Posix_Filesystem::make_directory_(const Path& path) {
  try {
    // Somebody else may have been quicker.
    if (::mkdir(path.c_str(), DIRECTORY_MODE) != 0) {
      boost::system::error_code error;
      const int error_number = errno;
      if (error_number == EEXIST && boost::filesystem::is_directory(path, error)) {
        return true;
      }
      throw_system_error("cannot create it", error_number);
    }
    if (::chmod(path.c_str(), DIRECTORY_MODE) != 0) {
      throw_system_error("cannot set its mode");
    }
    sync_directory(path.parent_path());
    return true;
  } catch (const std::system_error& error) {
    log_failure_("create the directory", path, error.what());
    return false;
  }
}

}  // namespace zant::velmora_host
