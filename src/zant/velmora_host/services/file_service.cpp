#include <zant/velmora_host/services/file_service.hpp>

#include <zant/velmora_host/services/disk_operations.hpp>
#include <zant/velmora_host/services/line_end.hpp>

#include <zant/logging/source.hpp>

#include <fmt/format.h>
#include <boost/filesystem/directory.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <system_error>

namespace zant::velmora_host {

using zant::logging::severity_level;

// Carries the operations out, and logs why one failed.
class PACKAGE_MINDER_HOST_LOCAL File_Service::Implementation {
 public:
  explicit Implementation(const std::vector<Path>& private_directories)
      : private_directories_(private_directories) {
    log_.init_("File_Service", "");
  }

  bool is_private(const Path& directory) const {
    return std::find(private_directories_.begin(), private_directories_.end(), directory) !=
           private_directories_.end();
  }

  // Whether a missing file is a failure of an operation, or an answer.
  enum class Missing { IS_A_FAILURE, IS_AN_ANSWER };

  // True when it succeeded. `what` says in the log what could not be done.
  template <typename Operation>
  bool attempt(const std::string& what, const Path& path, Missing missing, Operation operation) {
    try {
      operation();
      return true;
    } catch (const std::system_error& error) {
      if (missing == Missing::IS_A_FAILURE || !disk::means_missing(error.code().value())) {
        log_failure_(what, path, error.what());
      }
      return false;
    }
  }

  // Nothing is there, or a guess would be needed.
  static void throw_unless_missing(const std::string& what, const Path& path,
                                   const boost::system::error_code& error) {
    if (error && !disk::means_missing(error.value())) {
      throw std::system_error(error, fmt::format("Cannot {} {}", what, path.string()));
    }
  }

  std::string read(const Path& path) {
    try {
      return disk::read(path);
    } catch (const std::system_error& error) {
      if (disk::means_missing(error.code().value())) {
        return "";
      }
      if (!disk::means_no_file(error.code().value())) {
        throw std::system_error(error.code(), fmt::format("Cannot read {}", path.string()));
      }
      log_failure_("read", path, error.what());
      return "";
    }
  }

 private:
  void log_failure_(const std::string& what, const Path& path, const std::string& reason) {
    ZANT_LOG(log_, severity_level::warning) << fmt::format("Cannot {} {}: {}", what, path.string(), reason);
  }

  const std::vector<Path> private_directories_;
  zant::logging::Source log_;
};

File_Service::File_Service() : File_Service(std::vector<Path>{}) {}

File_Service::File_Service(const std::vector<Path>& private_directories)
    : implementation_(std::make_unique<Implementation>(private_directories)) {}

File_Service::~File_Service() = default;

bool File_Service::remove(const Path& path) {
  return implementation_->attempt("remove", path, Implementation::Missing::IS_AN_ANSWER,
                                  [&] { disk::remove(path); });
}

void File_Service::remove(const std::vector<Path>& paths) {
  for (const auto& path : paths) {
    implementation_->attempt("remove", path, Implementation::Missing::IS_AN_ANSWER,
                             [&] { disk::remove_file(path); });
  }
}

void File_Service::remove_all(const Path& path) {
  implementation_->attempt("remove", path, Implementation::Missing::IS_AN_ANSWER,
                           [&] { disk::remove_all(path); });
}

bool File_Service::exists(const Path& path) {
  return type_of(path) != File_Type::NONE;
}

bool File_Service::is_empty(const Path& path) {
  return type_of(path) == File_Type::DIRECTORY && list_entries(path).empty();
}

std::vector<velmora::Filesystem::Path> File_Service::list_files(const Path& directory,
                                                                const std::string& extension) {
  std::vector<Path> found = list_entries(directory);
  std::erase_if(found, [&](const Path& path) {
    return path.extension() != extension || type_of(path) != File_Type::FILE;
  });
  return found;
}

bool File_Service::copy_file(const Path& source, const Path& destination, int copy_option) {
  if (copy_option != velmora::Copy_Option::OVERWRITE_EXISTING && exists(destination)) {
    return false;
  }
  const bool keeps_access = implementation_->is_private(source.parent_path()) ||
                            implementation_->is_private(destination.parent_path());
  const auto access = keeps_access ? disk::Access::AS_THE_SOURCE : disk::Access::FOR_EVERYBODY;
  return implementation_->attempt(fmt::format("copy {} to", source.string()), destination,
                                  Implementation::Missing::IS_A_FAILURE,
                                  [&] { disk::copy(source, destination, access); });
}

std::size_t File_Service::copy_files(const std::vector<Path>& sources, const Path& directory,
                                     int copy_option) {
  return static_cast<std::size_t>(std::count_if(sources.begin(), sources.end(), [&](const Path& source) {
    return exists(source) && copy_file(source, directory / source.filename(), copy_option);
  }));
}

std::string File_Service::read_file(const Path& path, int read_flag) {
  std::string text = implementation_->read(path);
  return read_flag == velmora::Read_Flag::WITHOUT_LINE_END ? without_line_end(std::move(text)) : text;
}

bool File_Service::write_file(const Path& path, const std::string& contents, int /*write_flag*/) {
  return implementation_->attempt("write", path, Implementation::Missing::IS_A_FAILURE,
                                  [&] { disk::write(path, contents); });
}

bool File_Service::create_directories(const Path& path) {
  const bool is_private = implementation_->is_private(path);
  if (type_of(path) == File_Type::DIRECTORY && !is_private) {
    return true;
  }
  const auto create = is_private ? disk::create_private_directory : disk::create_directory;
  const Path parent = path.parent_path();
  return (parent.empty() || create_directories(parent)) &&
         implementation_->attempt("create the directory", path, Implementation::Missing::IS_A_FAILURE,
                                  [&] { create(path); });
}

bool File_Service::files_equal(const Path& first, const Path& second) {
  bool are_equal = false;
  implementation_->attempt(fmt::format("compare {} with", first.string()), second,
                           Implementation::Missing::IS_AN_ANSWER,
                           [&] { are_equal = disk::are_equal(first, second); });
  return are_equal;
}

std::string File_Service::stamp_of(const Path& path) {
  return disk::stamp_of(path);
}

bool File_Service::move(const Path& from, const Path& to) {
  return implementation_->attempt(fmt::format("move {} to", from.string()), to,
                                  Implementation::Missing::IS_A_FAILURE, [&] { disk::move(from, to); });
}

bool File_Service::has_common_access(const Path& path) {
  return disk::has_common_access(path);
}

File_Type File_Service::type_of(const Path& path) {
  boost::system::error_code error;
  const boost::filesystem::file_type type = boost::filesystem::status(path, error).type();
  switch (type) {
    case boost::filesystem::regular_file:
      return File_Type::FILE;
    case boost::filesystem::directory_file:
      return File_Type::DIRECTORY;
    case boost::filesystem::file_not_found:
      return File_Type::NONE;
    case boost::filesystem::status_error:
      Implementation::throw_unless_missing("look for", path, error);
      return File_Type::NONE;
    default:
      return File_Type::OTHER;
  }
}

std::vector<velmora::Filesystem::Path> File_Service::list_entries(const Path& directory) {
  std::vector<Path> found;
  boost::system::error_code error;
  for (boost::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    found.push_back(entry->path());
  }
  Implementation::throw_unless_missing("list", directory, error);
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace zant::velmora_host
