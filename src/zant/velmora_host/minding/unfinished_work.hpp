#pragma once

#include <zant/velmora_host/services/host_filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace zant::velmora_host {

/// The journal of a cycle or a purge that changes the host: which paths it has touched, in a file of the
/// state directory that is there until the work has succeeded. Work that was killed, or that failed, may have
/// changed a file without what must follow, a refresh or a reload: the next work finds the file here and does
/// it again.
///
/// Safe to call from several threads.
class Unfinished_Work {
 public:
  using Path = boost::filesystem::path;

  /// The name of the file in a state directory.
  static constexpr const char* FILE = "unfinished";

  /// Reads what earlier work has left.
  Unfinished_Work(std::shared_ptr<Host_Filesystem> filesystem, const Path& state_directory);

  /// To be called before a path is touched; it does not count as earlier work's any more.
  ///
  /// @throws std::runtime_error when that cannot be written down; then nothing may be touched.
  void note(const Path& path);

  /// Whether earlier work has touched the path, or the directory that it is in, and did not succeed.
  bool was_touched(const Path& path) const;

  /// The work has ended. What it or earlier work has touched is finished where `is_finished` says so; the
  /// rest is earlier work from now on.
  void end(const std::function<bool(const Path& path)>& is_finished);

 private:
  bool write_(const std::set<std::string>& paths);

  std::shared_ptr<Host_Filesystem> filesystem_;
  Path file_;
  mutable std::mutex mutex_;
  std::set<std::string> earlier_;  // touched by work before this one, and not by this one
  std::set<std::string> current_;
  std::set<std::string> written_;  // what the file holds
};

}  // namespace zant::velmora_host
