#pragma once

#include <zant/velmora_host/settings/settings.hpp>
#include <zant/velmora_host/staging/instance_lock.hpp>

#include <zant/velmora/host/filesystem.hpp>

#include <boost/filesystem/path.hpp>

#include <memory>

namespace zant::velmora_host {

/// The state directory, while this process and no other works there, with a fresh copy of the staging tree
/// for the library to render into.
class Work_Area {
 public:
  /// @throws Refusal when the state directory cannot be used or another process works there; then nothing in
  ///         it has changed.
  Work_Area(const Settings& settings, std::shared_ptr<velmora::Filesystem> filesystem);

  /// The copy of the staging tree.
  boost::filesystem::path staging_directory() const;

  /// Takes away all that the program keeps in the state directory, and the directory if nothing else is in
  /// it.
  void remove();

 private:
  void make_staging_directory_(const Settings& settings);

  std::shared_ptr<velmora::Filesystem> filesystem_;
  boost::filesystem::path directory_;
  Instance_Lock lock_;
};

}  // namespace zant::velmora_host
