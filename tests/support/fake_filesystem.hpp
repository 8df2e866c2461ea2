#pragma once

#include <support/call_journal.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace zant::velmora::test_support {

/// An in-memory file service with the whole contract of the real one; the contract suite runs over both.
///
/// Every operation is recorded in the journal as its name and arguments: "exists /a", "remove /a",
/// "remove [/a, /b]", "remove_all /a", "is_empty /a", "list_files /a .x", "copy_file /a -> /b (2)",
/// "copy_files [/a, /b] -> /c (2)", "read_file /a (0)", "write_file /a (0)", "create_directories /a",
/// "files_equal /a /b".
///
/// `add_file` and the other arranging and looking operations are not recorded.
class Fake_Filesystem : public Filesystem {
 public:
  explicit Fake_Filesystem(std::shared_ptr<Call_Journal> journal = make_journal());

  /// Arranges a file, with the directories above it.
  void add_file(const Path& path, const std::string& contents);

  /// Arranges a directory, with those above it.
  void add_directory(const Path& path);

  /// Arranges that a directory, which need not be there, is private to the service.
  void make_private(const Path& directory);

  /// Arranges the permissions of a file or directory.
  void set_mode(const Path& path, unsigned int mode);

  /// The permissions of a file or directory.
  unsigned int mode_of(const Path& path) const;

  /// What a file holds; nothing when it is missing.
  std::optional<std::string> contents(const Path& path) const;

  /// Whether a file or directory is there.
  bool has(const Path& path) const;

  /// Whether a directory is there.
  bool has_directory(const Path& path) const;

  /// The full paths of a directory's entries, sorted.
  std::vector<Path> entries(const Path& directory) const;

  /// Renames a file, or a directory with all below it, as a host's file service can. Not recorded; `fail`
  /// knows it as "move /a -> /b".
  bool move(const Path& from, const Path& to);

  /// The nth operation from now that the journal records in exactly these words fails (1 is the next one): it
  /// reports the failure in its way and changes nothing. For copy_files see `fail_copies_of`.
  void fail(const std::string& operation, int nth = 1);

  /// Runs the action inside every operation that the journal records in exactly these words, before the
  /// operation does anything; an action that throws is a service that throws.
  void during(const std::string& operation, std::function<void()> action);

  /// Every copy of this source, by copy_file or copy_files, fails from now on.
  void fail_copies_of(const Path& source);

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

 private:
  bool record_(const std::string& operation);
  bool is_directory_(const std::string& path) const;
  bool has_entries_(const std::string& directory) const;
  bool is_private_(const Path& directory) const;
  bool copy_(const Path& source, const Path& destination, int copy_option);

  std::shared_ptr<Call_Journal> journal_;
  std::map<std::string, std::string> files_;
  std::set<std::string> directories_;
  std::map<std::string, int> failures_;
  std::map<std::string, std::function<void()>> actions_;
  std::set<std::string> uncopyable_;
  std::set<std::string> private_directories_;
  std::map<std::string, unsigned int> modes_;  // of those that do not have the usual one
};

}  // namespace zant::velmora::test_support
