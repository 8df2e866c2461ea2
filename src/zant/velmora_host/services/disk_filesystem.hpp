#pragma once

#include <zant/logging/source.hpp>
#include <zant/velmora/host/filesystem.hpp>

#include <string>
#include <vector>

namespace zant::velmora_host {

/// What the file services of all kinds of host have in common: the results of the operations, and the record
/// of a failure. How a file is read and written is each host's own.
///
/// Ordinary failures are the results that `Filesystem` describes, never exceptions; their reason is logged as
/// a warning. That a file is missing is an answer and is not logged.
class Disk_Filesystem : public velmora::Filesystem {
 public:
  void remove_all(const Path& path) override;
  bool exists(const Path& path) override;
  bool is_empty(const Path& path) override;

  /// Sorted by name; links to files count as files.
  std::vector<Path> list_files(const Path& directory, const std::string& extension) override;

  /// With any option but Copy_Option::OVERWRITE_EXISTING an existing destination stays, and the copy fails.
  bool copy_file(const Path& source, const Path& destination, int copy_option) override;
  std::size_t copy_files(const std::vector<Path>& sources, const Path& directory, int copy_option) override;
  std::string read_file(const Path& path, int read_flag) override;
  bool write_file(const Path& path, const std::string& contents, int write_flag) override;
  bool create_directories(const Path& path) override;
  bool files_equal(const Path& first, const Path& second) override;

 protected:
  /// `channel` is the one that failures are logged under.
  explicit Disk_Filesystem(const std::string& channel);

  /// Logs that it could not be done, unless the reason, an error code of the operating system, is that
  /// nothing is there.
  void log_unless_missing_(const std::string& what, const Path& path, int error_code);
  void log_failure_(const std::string& what, const Path& path, const std::string& reason);

 private:
  virtual bool means_missing_(int error_code) const = 0;
  virtual std::string error_text_(int error_code) const = 0;

  // These throw std::system_error with an error code of the operating system.
  virtual std::string read_(const Path& path) = 0;
  virtual void write_(const Path& path, const std::string& contents) = 0;
  virtual void copy_(const Path& source, const Path& destination) = 0;
  virtual bool are_equal_(const Path& first, const Path& second) = 0;

  /// Its parent is there. Logs a failure itself.
  virtual bool make_directory_(const Path& path) = 0;

  zant::logging::Source log_;
};

}  // namespace zant::velmora_host
