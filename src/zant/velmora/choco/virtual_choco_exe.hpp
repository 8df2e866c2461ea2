#pragma once

#include <zant/velmora/export.hpp>

#include <string>

namespace zant::velmora {

/// What the Chocolatey side needs of choco.exe. A failing command is a false result, never an exception.
class PACKAGE_MINDER_EXPORT Virtual_Choco_Exe {
 public:
  virtual ~Virtual_Choco_Exe() = default;

  /// The path of choco.exe as text.
  virtual std::string get_exe_path() const = 0;

  /// True when the pin listing names the package.
  virtual bool package_is_pinned() = 0;

  /// Pins the package; true when choco carried it out.
  virtual bool pin_package() = 0;

  /// Removes the package's pin; true when choco carried it out.
  virtual bool unpin_package() = 0;

  /// Makes sure that the source is registered and, when it was not, that Chocolatey knows the installed
  /// package.
  virtual bool add_repo(const std::string& source_location) = 0;

  /// Takes the source out again; true when it is gone.
  virtual bool remove_repo() = 0;

  /// Empties Chocolatey's HTTP cache; whether that worked is not told.
  virtual void clear_http_cache() = 0;
};

}  // namespace zant::velmora
