#include <zant/velmora_host/services/disk_filesystem.hpp>

#include <fmt/format.h>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <system_error>

namespace zant::velmora_host {
namespace {

using zant::logging::severity_level;

void strip_line_end(std::string& text) {
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  if (text.ends_with('\r')) {
    text.pop_back();
  }
}

}  // namespace

Disk_Filesystem::Disk_Filesystem(const std::string& channel) {
  log_.init_(channel, "");
}

void Disk_Filesystem::remove_all(const Path& path) {
  boost::system::error_code error;
  boost::filesystem::remove_all(path, error);
  if (error) {
    log_unless_missing_("remove", path, error.value());
  }
}

bool Disk_Filesystem::exists(const Path& path) {
  boost::system::error_code error;
  const bool is_found = boost::filesystem::exists(path, error);
  if (error) {
    log_unless_missing_("look for", path, error.value());
  }
  return is_found;
}

bool Disk_Filesystem::is_empty(const Path& path) {
  boost::system::error_code error;
  const boost::filesystem::directory_iterator entries(path, error);
  if (error) {
    log_unless_missing_("list", path, error.value());
    return false;
  }
  return entries == boost::filesystem::directory_iterator();
}

std::vector<velmora::Filesystem::Path> Disk_Filesystem::list_files(const Path& directory,
                                                                   const std::string& extension) {
  std::vector<Path> found;
  boost::system::error_code error;
  for (boost::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    boost::system::error_code gone;
    if (entry->path().extension() == extension && boost::filesystem::is_regular_file(entry->path(), gone)) {
      found.push_back(entry->path());
    }
  }
  if (error) {
    log_unless_missing_("list", directory, error.value());
  }
  std::sort(found.begin(), found.end());
  return found;
}

bool Disk_Filesystem::copy_file(const Path& source, const Path& destination, int copy_option) {
  if (copy_option != velmora::Copy_Option::OVERWRITE_EXISTING && exists(destination)) {
    return false;
  }
  try {
    copy_(source, destination);
    return true;
  } catch (const std::system_error& error) {
    log_failure_(fmt::format("copy {} to", source.string()), destination, error.what());
    return false;
  }
}

std::size_t Disk_Filesystem::copy_files(const std::vector<Path>& sources, const Path& directory,
                                        int copy_option) {
  return static_cast<std::size_t>(std::count_if(sources.begin(), sources.end(), [&](const Path& source) {
    return exists(source) && copy_file(source, directory / source.filename(), copy_option);
  }));
}

std::string Disk_Filesystem::read_file(const Path& path, int read_flag) {
  std::string text;
  try {
    text = read_(path);
  } catch (const std::system_error& error) {
    if (!means_missing_(error.code().value())) {
      log_failure_("read", path, error.what());
    }
    return "";
  }
  if (read_flag == velmora::Read_Flag::WITHOUT_LINE_END) {
    strip_line_end(text);
  }
  return text;
}

bool Disk_Filesystem::write_file(const Path& path, const std::string& contents, int /*write_flag*/) {
  try {
    write_(path, contents);
    return true;
  } catch (const std::system_error& error) {
    log_failure_("write", path, error.what());
    return false;
  }
}

bool Disk_Filesystem::create_directories(const Path& path) {
  boost::system::error_code error;
  if (boost::filesystem::is_directory(path, error)) {
    return true;
  }
  const Path parent = path.parent_path();
  return (parent.empty() || create_directories(parent)) && make_directory_(path);
}

bool Disk_Filesystem::files_equal(const Path& first, const Path& second) {
  try {
    return are_equal_(first, second);
  } catch (const std::system_error& error) {
    if (!means_missing_(error.code().value())) {
      log_failure_(fmt::format("compare {} with", first.string()), second, error.what());
    }
    return false;
  }
}

void Disk_Filesystem::log_unless_missing_(const std::string& what, const Path& path, int error_code) {
  if (!means_missing_(error_code)) {
    log_failure_(what, path, error_text_(error_code));
  }
}

void Disk_Filesystem::log_failure_(const std::string& what, const Path& path, const std::string& reason) {
  ZANT_LOG(log_, severity_level::warning) << fmt::format("Cannot {} {}: {}", what, path.string(), reason);
}

}  // namespace zant::velmora_host
