#pragma once

#include <zant/velmora_host/families/family.hpp>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zant::velmora_host {

/// The families that the host side serves. Adding one is adding its room and naming it here.
class Family_Registry {
 public:
  /// @param families in the order in which they are asked whether a host is theirs.
  explicit Family_Registry(std::vector<std::unique_ptr<Family>> families);

  /// Those of this system; one object for the process, which is never changed.
  static const Family_Registry& built_in();

  const std::vector<std::unique_ptr<Family>>& all() const noexcept { return families_; }

  /// The family of a host; null when none is.
  const Family* find(velmora::Filesystem& filesystem) const;

  /// What a staging tree must have that serves hosts of every family.
  Staging_Layout staging_layout() const;

  /// The variables that the command lines of all families need.
  std::map<std::string, std::string> command_environment() const;

  /// As `Family::contained_form_of`, of the family that has one.
  std::optional<std::string> contained_form_of(const std::string& line,
                                               const boost::filesystem::path& directory) const;

  /// The directories of all families where the library keeps copies of the host's own files.
  std::vector<boost::filesystem::path> private_directories() const;

  /// Whether a command line of any family installs, upgrades or removes packages.
  bool installs_packages(const std::string& line) const;

 private:
  std::vector<std::unique_ptr<Family>> families_;
};

}  // namespace zant::velmora_host
