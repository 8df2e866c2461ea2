#pragma once

#include <zant/velmora_host/services/forwarding_filesystem.hpp>

#include <zant/logging/source.hpp>

#include <memory>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// A file service for reports, which say what they can: what cannot be looked at counts as missing, with a
/// warning under the channel "Forgiving_Filesystem". Acts are passed on.
class Forgiving_Filesystem : public Forwarding_Filesystem {
 public:
  explicit Forgiving_Filesystem(std::shared_ptr<Host_Filesystem> real);

  bool exists(const Path& path) override;
  bool is_empty(const Path& path) override;
  std::vector<Path> list_files(const Path& directory, const std::string& extension) override;
  std::string read_file(const Path& path, int read_flag) override;
  bool files_equal(const Path& first, const Path& second) override;
  std::string stamp_of(const Path& path) override;
  bool has_common_access(const Path& path) override;
  File_Type type_of(const Path& path) override;
  std::vector<Path> list_entries(const Path& directory) override;

 private:
  template <typename Question>
  auto forgive_(Question question) -> decltype(question());

  zant::logging::Source log_;
};

}  // namespace zant::velmora_host
