#pragma once

#include <zant/velmora_host/families/apt/apt_configuration.hpp>
#include <zant/velmora_host/services/host_filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host::apt_outlook {

/// A line of a file of APT's.
struct Place {
  boost::filesystem::path file;
  std::size_t line = 0;
  std::string text;

  /// "FILE:LINE: the line".
  std::string evidence() const;
};

/// APT's settings in force, and where they stand.
class APT_Settings {
 public:
  /// @param dump what "apt-config dump" prints.
  APT_Settings(const std::string& dump, Host_Filesystem& filesystem);

  /// The last value; nothing when there is none.
  std::optional<std::string> value(const std::string& name) const;

  std::vector<std::string> values(const std::string& name) const;

  /// The same from a file: the last place in APT's order that gives the item this value; nothing when no file
  /// does.
  std::optional<Place> place_of(const std::string& name, const std::string& value) const;

  /// The last "#clear" of an item, or of what stands above it; nothing when there is none.
  std::optional<Place> place_of_clearing(const std::string& name) const;

  /// FILE:LINE and the line, or the item as "apt-config dump" has it.
  std::string evidence(const std::string& name, const std::string& value) const;

  /// A command that puts a line out of force: it becomes a comment. Files of the library's are put back by a
  /// cycle instead.
  ///
  /// @param otherwise for a line that is not there, or cannot become a comment.
  std::string without(const std::optional<Place>& place, const std::string& otherwise) const;

 private:
  struct File {
    boost::filesystem::path path;
    std::string text;
  };

  std::vector<APT_Configuration_Item> items_;
  std::vector<File> files_;
};

/// The directory that a setting names, without a "/" at its end. APT's own defaults have none in front
/// either.
boost::filesystem::path directory_named(const std::string& value);

/// Whether the library keeps a file: an edit of it is undone by its next cycle.
bool is_kept_by_library(const boost::filesystem::path& file);

}  // namespace zant::velmora_host::apt_outlook
