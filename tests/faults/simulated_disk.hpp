#pragma once

#include <faults/fault_plan.hpp>

#include <zant/velmora_host/services/host_filesystem.hpp>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host::faults {

/// A disk in memory, with the operations, and the promises, of the file service: a file is replaced at once,
/// and what an operation has done is on the disk when it returns. What is under way when the process ends is
/// done in part, or leaves a temporary file.
class Simulated_Disk : public Host_Filesystem {
 public:
  /// A text, or nothing for a directory.
  using Entry = std::optional<std::string>;
  using Entries = std::map<std::string, Entry>;

  explicit Simulated_Disk(std::shared_ptr<Fault_Plan> plan) : plan_(std::move(plan)) {}

  /// All that is on the disk, by path; for arranging and judging, without a call.
  Entries& entries() noexcept { return entries_; }
  const Entries& entries() const noexcept { return entries_; }
  /// The text of a file; empty when there is none.
  std::string text_of(const std::string& path) const;
  void put(const std::string& path, const std::string& text);

  /// Called when power is cut, before the process ends.
  void on_power_cut(std::function<void()> action) { on_power_cut_ = std::move(action); }

  bool remove(const Path& path) override;
  void remove(const std::vector<Path>& paths) override;
  void remove_all(const Path& path) override;
  bool exists(const Path& path) override;
  bool is_empty(const Path& path) override;
  std::vector<Path> list_files(const Path& directory, const std::string& extension) override;
  bool copy_file(const Path& source, const Path& destination, int copy_option) override;
  std::size_t copy_files(const std::vector<Path>& sources, const Path& directory, int copy_option) override;
  std::string read_file(const Path& path, int read_flag) override;
  bool write_file(const Path& path, const std::string& contents, int write_flag) override;
  bool create_directories(const Path& path) override;
  bool files_equal(const Path& first, const Path& second) override;
  File_Type type_of(const Path& path) override;
  std::vector<Path> list_entries(const Path& directory) override;
  bool move(const Path& from, const Path& to) override;
  bool has_common_access(const Path& path) override;

 private:
  enum class Process { GOES_ON, ENDS };

  using Act = std::function<bool()>;
  using Part = std::function<void(Process)>;

  bool ask_(const char* what, const std::string& subject);
  bool act_(const char* what, const std::string& subject, const Act& whole, const Part& part);
  bool is_directory_(const std::string& path) const;
  bool is_file_(const std::string& path) const;
  bool replace_(const std::string& path, const std::string& text);
  void leave_temporary_file_(Process process, const std::string& path, const std::string& text);
  bool remove_entry_(const std::string& path);
  std::vector<std::string> below_(const std::string& directory) const;
  std::vector<std::string> in_(const std::string& directory) const;

  std::shared_ptr<Fault_Plan> plan_;
  std::function<void()> on_power_cut_ = [] {};
  Entries entries_;
};

}  // namespace zant::velmora_host::faults
