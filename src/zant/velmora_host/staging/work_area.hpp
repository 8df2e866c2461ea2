#pragma once

#include <zant/velmora_host/settings/settings.hpp>
#include <zant/velmora_host/staging/instance_lock.hpp>
#include <zant/velmora_host/staging/staging_layout.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>
#include <string>

namespace zant::velmora_host {

/// The state directory, locked for this process, with a fresh staging directory for the library to render
/// into.
class Work_Area {
 public:
  /// @param layout of the host's family; empty when nothing is staged.
  /// @throws Refusal when the state directory cannot be used or is not ours (`state_directory::find_faults`),
  ///         or another process has locked it; std::system_error when that may be otherwise the next time
  ///         (`is_passing`). Nothing in it is changed then but its mark, which may be new.
  Work_Area(const Settings& settings, const Staging_Layout& layout,
            std::shared_ptr<velmora::Filesystem> filesystem);

  /// The id of the process that works in the state directory; empty when none does. Changes nothing.
  ///
  /// @throws std::system_error when the lock cannot be read.
  static std::string find_holder(const Settings& settings);

  /// The staging directory.
  boost::filesystem::path staging_directory() const;

  /// Removes everything that is kept in the state directory, and the directory if nothing but its mark is
  /// left.
  void remove();

 private:
  void make_staging_directory_(const Settings& settings, const Staging_Layout& layout);

  std::shared_ptr<velmora::Filesystem> filesystem_;
  boost::filesystem::path directory_;
  Instance_Lock lock_;
};

}  // namespace zant::velmora_host
